#pragma once

#include "HostModels/Show/Show.h"

#include <QString>

class QPainter;
class QSizeF;

/// The English name of a resource type, such as "Video"; "Other" for an unknown type.
QString KindName(int type);
/// Draws a card for a resource or a resource type at the painter's origin.
/// \param size in the painter's units
void DrawCard(QPainter& painter, const QSizeF& size, int type, const QString& title, const QString& details);
/// The resource's resolution, duration and number of pages; values that it doesn't have are omitted.
QString DetailsOf(const SResource& resource);
/// As above, but for a resource with several pages the number of the page that a medium shows.
/// \param page counted from 0
QString DetailsOf(const SResource& resource, int page);
