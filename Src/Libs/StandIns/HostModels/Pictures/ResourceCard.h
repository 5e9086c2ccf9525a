#pragma once

#include "HostModels/Show/Show.h"

#include <QString>

class QPainter;
class QSizeF;

/// What people call a kind of resource.
QString KindName(int type);
/// A card that stands for a resource or a kind, from the painter's origin on.
void DrawCard(QPainter& painter, const QSizeF& size, int type, const QString& title, const QString& details);
/// The resource's resolution, length and number of pages, as far as it has them.
QString DetailsOf(const SResource& resource);
/// Which of its pages a medium of the resource shows, counted from 0; the resource's details if it has but one.
QString DetailsOf(const SResource& resource, int page);
