#include "HostModels/Pictures/Painting.h"

#include "ExternalController/Common/ResourceType.h"
#include "HostModels/HostModels.h"
#include "HostModels/Pictures/PictureFile.h"
#include "HostModels/Pictures/ResourceCard.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr QRect kStageWithoutScreens(0, 0, 1920, 1080);

/// The size, scaled down to the limits if it exceeds them. At least 1 by 1.
QSize CappedSize(const QSize& size)
{
    const double width = std::max(1, size.width());
    const double height = std::max(1, size.height());
    const double share = std::min({1.0, Painting::kMaxSide / width, Painting::kMaxSide / height,
                                   std::sqrt(Painting::kMaxPixels / (width * height))});
    return QSize(static_cast<int>(width * share), static_cast<int>(height * share)).expandedTo({1, 1});
}

QImage TransparentImage(const QSize& size)
{
    QImage image(CappedSize(size), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

/// Starts painting on the image. The coordinate system is scaled so that `whole` fills the image.
void Begin(QPainter& painter, QImage& device, const QSizeF& whole)
{
    painter.begin(&device);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    painter.scale(device.width() / whole.width(), device.height() / whole.height());
}

void DrawPicture(QPainter& painter, const QImage& picture, const QSizeF& size)
{
    // QPainter interpolates between four source pixels. That is not enough when a picture is scaled to less than half.
    const QTransform& transform = painter.transform();
    const QSize onDevice = QSize(qRound(size.width() * std::hypot(transform.m11(), transform.m12())),
                                 qRound(size.height() * std::hypot(transform.m21(), transform.m22())))
                               .expandedTo({1, 1})
                               .boundedTo(picture.size());
    const bool muchSmaller = 2 * onDevice.width() < picture.width() || 2 * onDevice.height() < picture.height();
    painter.drawImage(QRectF(QPointF(0, 0), size),
                      muchSmaller ? picture.scaled(onDevice, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                  : picture);
}

int TextFlags(const STextProperties& text)
{
    const int horizontal = text.horAlignment == TextAlignment::Centre  ? Qt::AlignHCenter
                           : text.horAlignment == TextAlignment::Right ? Qt::AlignRight
                                                                       : Qt::AlignLeft;
    return horizontal | Qt::AlignVCenter | Qt::TextWordWrap;
}

/// The size of a text resource: its resolution or, without one, the bounding rectangle of the text with a margin.
QSizeF TextSize(const SResource& resource)
{
    const QSize resolution = resource.base.GetResolution();
    if (!resolution.isEmpty())
        return resolution;
    const QFontMetricsF metrics(resource.text.font);
    const double margin = metrics.height() / 2;
    return metrics.boundingRect({0, 0, 1920, 1080}, TextFlags(resource.text), resource.text.text)
        .size()
        .expandedTo({1, 1})
        .grownBy({margin, margin, margin, margin});
}

void DrawTextContent(QPainter& painter, const STextProperties& text, const QSizeF& size)
{
    const QRectF place(QPointF(0, 0), size);
    painter.save();
    painter.setClipRect(place, Qt::IntersectClip);
    if (text.hasBackColor)
        painter.fillRect(place, text.backColor);
    painter.setFont(text.font);
    painter.setPen(text.textColor);
    painter.drawText(place, TextFlags(text), text.text);
    painter.restore();
}

QImage PictureOf(const SResource& resource)
{
    const int type = resource.base.GetType();
    // A resource that is not ready is being decoded on the upload thread; don't decode it on a channel's thread.
    if (type == ResourceType::Text || type == ResourceType::Group || !resource.base.GetResDemuxered())
        return {};
    return ReadPictureFile(resource.base.GetPath()).picture;
}

/// Draws at the painter's origin.
void DrawResource(QPainter& painter, const SResource& resource, const QImage& picture, const QSizeF& size,
                  const QString& details)
{
    if (resource.base.GetType() == ResourceType::Text)
        DrawTextContent(painter, resource.text, size);
    else if (!picture.isNull())
        DrawPicture(painter, picture, size);
    else
        DrawCard(painter, size, resource.base.GetType(), resource.base.GetName(), details);
}

/// Draws at the painter's origin, not rotated.
void DrawMedium(QPainter& painter, const SResource& resource, const CMediaNode& medium)
{
    const auto layout = medium.GetLayoutProperty();
    const QPointF centre(layout->size.width() / 2.0, layout->size.height() / 2.0);
    painter.translate(centre);
    painter.scale(layout->horFlip ? -1 : 1, layout->verFlip ? -1 : 1);
    painter.translate(-centre);
    DrawResource(painter, resource, PictureOf(resource), layout->size,
                 DetailsOf(resource, medium.GetPlayProperty()->currentState));
}

void DrawMedia(QPainter& painter, const SProject& project, const SScene& scene)
{
    for (const CMediaNode& medium : scene.media) {
        const auto layout = medium.GetLayoutProperty();
        const SResource* resource = project.ResourceById(medium.GetResourceId());
        if (!resource || layout->hidden || layout->size.isEmpty())
            continue;
        const QPointF half(layout->size.width() / 2.0, layout->size.height() / 2.0);
        painter.save();
        painter.translate(layout->position + half);
        painter.rotate(-double{layout->rotation}); // QPainter rotates clockwise
        painter.translate(-half);
        DrawMedium(painter, *resource, medium);
        painter.restore();
    }
}

/// Draws the overlay above the media: darkens closed screens and outlines the divisions of screens.
void DrawScreens(QPainter& painter, const SShow& show)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(255, 255, 255, 110), 0));
    for (const auto& screen : show.screens) {
        if (!screen->added)
            continue;
        if (!screen->open)
            painter.fillRect(screen->place, QColor(0, 0, 0, 190));
        for (const QRectF& part : screen->divisions)
            painter.drawRect(part.translated(screen->place.topLeft()));
    }
}

} // namespace

QImage Painting::PaintResource(const SResource& resource, const QSize& size)
{
    QImage image = TransparentImage(size);
    const QImage picture = PictureOf(resource);
    QSizeF whole = image.size();
    if (resource.base.GetType() == ResourceType::Text)
        whole = TextSize(resource);
    else if (!picture.isNull())
        whole = picture.size();
    const QSizeF shown = whole.scaled(image.size(), Qt::KeepAspectRatio);

    QPainter painter;
    Begin(painter, image, image.size());
    painter.translate((image.width() - shown.width()) / 2, (image.height() - shown.height()) / 2);
    painter.scale(shown.width() / whole.width(), shown.height() / whole.height());
    DrawResource(painter, resource, picture, whole, DetailsOf(resource));
    return image;
}

QImage Painting::PaintTypeCard(int type, const QSize& size)
{
    QImage image = TransparentImage(size);
    QPainter painter;
    Begin(painter, image, image.size());
    DrawCard(painter, image.size(), type, KindName(type), {});
    return image;
}

QImage Painting::PaintMedium(const SProject& project, const CMediaNode& medium)
{
    const auto layout = medium.GetLayoutProperty();
    const SResource* resource = project.ResourceById(medium.GetResourceId());
    if (!resource || layout->size.isEmpty())
        return {};
    QImage image = TransparentImage(layout->size);
    QPainter painter;
    Begin(painter, image, layout->size);
    DrawMedium(painter, *resource, medium);
    return image;
}

QRect Painting::StageArea(const SShow& show)
{
    QRect stage;
    for (const auto& screen : show.screens) {
        if (screen->added)
            stage = stage.united(screen->place);
    }
    return stage.isEmpty() ? kStageWithoutScreens : stage;
}

QImage Painting::PaintStage(const SShow& show, const SScene& scene, const QSize& bounds)
{
    const QRect stage = StageArea(show);
    QSize size = stage.size();
    if (!bounds.isEmpty() && size.boundedTo(bounds) != size)
        size.scale(bounds, Qt::KeepAspectRatio);
    QImage image(CappedSize(size), QImage::Format_RGB32);
    image.fill(show.effect.black ? Qt::black : HostModels::SoftwareSetting().LoadStageColor());
    if (show.effect.black)
        return image;

    QPainter painter;
    Begin(painter, image, stage.size());
    painter.translate(-stage.topLeft());
    if (const SProject* project = show.Project())
        DrawMedia(painter, *project, scene);
    DrawScreens(painter, show);
    painter.fillRect(stage, QColor::fromRgbF(0, 0, 0, std::clamp(1 - double{show.effect.luminance}, 0.0, 1.0)));
    return image;
}
