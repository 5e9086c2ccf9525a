#pragma once

#include "HostModels/Show/Show.h"

#include <QImage>
#include <QRect>
#include <QSize>

/// Renders the objects of a show as pictures. Any thread.
namespace Painting {

// A show file can contain any size. A picture that would exceed these limits is scaled down; the aspect ratio is kept.
constexpr int kMaxSide = 8192;
constexpr int kMaxPixels = 7680 * 4320;

/// Paints the resource's picture if its file is a picture and is ready to play; otherwise a card with its name and
/// type.
/// \param size of the result, in pixels
/// \return never null
QImage PaintResource(const SResource& resource, const QSize& size);
/// Paints the card for a resource type. Never null.
/// \param size of the result, in pixels
QImage PaintTypeCard(int type, const QSize& size);
/// Paints a medium in its size on the stage, flipped if it is, but not rotated, with its alpha channel. Null if the
/// medium has no size or no resource.
QImage PaintMedium(const SProject& project, const CMediaNode& medium);
/// The rectangle that contains all added screens; without screens, 1920 by 1080 pixels.
QRect StageArea(const SShow& show);
/// Paints the stage area. It shows the scene's media that are not hidden, with the show's luminance and black state.
/// Never null. \param bounds maximum size of the result, which has the proportions of the stage; empty: the size of the
/// stage
QImage PaintStage(const SShow& show, const SScene& scene, const QSize& bounds = {});

} // namespace Painting
