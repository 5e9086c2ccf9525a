#pragma once

#include "HostModels/Show/Show.h"

#include <QImage>
#include <QSize>

/// Pictures of what a show holds. Any thread.
namespace Painting {

// A show file may say any size: a stage, medium or card beyond these is painted smaller, in its proportions.
constexpr int kMostSide = 8192;
constexpr int kMostPixels = 7680 * 4320;

/// The resource's picture if its file is one and is ready to play, and otherwise a card with its name and kind. Never
/// null.
QImage PaintResource(const SResource& resource, const QSize& size);
/// The card that stands for every resource of a type.
QImage PaintTypeCard(int type, const QSize& size);
/// A medium in its size on the stage, flipped as it is there and not turned, with its alpha channel. Null for one
/// without a size or a resource.
QImage PaintMedium(const SProject& project, const CMediaNode& medium);
/// The stage that the added screens make up, or a stage of 1920 by 1080 without any, with the scene's media that
/// aren't hidden, darkened as the show's effect says. Never null.
QImage PaintStage(const SShow& show, const SScene& scene);

} // namespace Painting
