#include "HostModels/Pictures/ResourceCard.h"

#include "ExternalController/Common/ResourceType.h"

#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QStringList>
#include <QTextOption>

#include <algorithm>
#include <iterator>

namespace {

struct SKind {
    const char* name;
    QRgb colour;
};

constexpr SKind kUnknownKind = {"Other", 0xff5c6370};

/// Indexed by the resource type.
constexpr SKind kKinds[] = {
    {"Video", 0xff2f6fde},         {"Audio", 0xff8a4fd3},
    {"Picture", 0xff0f9d8a},       {"Folder", 0xffc9962b},
    {"Group", 0xff5b62c9},         {"Web page", 0xff1f8fc4},
    {"Capture card", 0xffc2453f},  {"Capture card audio", 0xff9c3a6d},
    {"Presentation", 0xffd9622b},  {"Stream", 0xffb83280},
    {"Text", 0xff48566a},          {"NDI", 0xff3d7ea6},
    {"Test chart", 0xff6b7f2a},    {"Weather", 0xff3a9bd9},
    {"Timer", 0xffb5532d},         {"Spreadsheet", 0xff2e8b4f},
    {"Desktop copy", 0xff566f94},  {"Clock", 0xff8c6a3f},
    {"Calendar", 0xffc04f5a},      {"Table", 0xff3f8f78},
    {"Database", 0xff47699f},      {"Environment", 0xff5a9a3c},
    {"Subtitle", 0xff7a6a8f},      {"PDF", 0xffb3342e},
    {"Word document", 0xff2f5fb0}, {"Lottery", 0xffcc3f8f},
    {"Teleprompter", 0xff4a5a55},  {"Scrolling group", 0xff6f58b8},
};
static_assert(std::size(kKinds) == ResourceType::Last + 1);

const SKind& KindOf(int type)
{
    return type >= 0 && type <= ResourceType::Last ? kKinds[type] : kUnknownKind;
}

/// Cards are laid out in their own units and then scaled, because font engines fail with the letter sizes that a show
/// file can require. This is the height of a small line.
constexpr double kUnit = 20;
constexpr double kRound = 0.6 * kUnit;
/// Maximum width of a text layout.
constexpr double kMaxLine = 100000;

QFont FontOf(double height, bool bold)
{
    QFont font;
    font.setPixelSize(qRound(height));
    font.setBold(bold);
    return font;
}

/// Draws a line of text, left-aligned and vertically centred. Text that doesn't fit is elided.
void DrawLine(QPainter& painter, const QRectF& place, const QFont& font, const QString& text)
{
    painter.setFont(font);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     QFontMetricsF(font).elidedText(text, Qt::ElideRight, place.width()));
}

void DrawLabels(QPainter& painter, const QRectF& face, const QString& kind, const QString& title,
                const QString& details)
{
    QRectF inside = face.adjusted(1.2 * kUnit, kUnit, -kUnit, -kUnit);
    inside.setWidth(std::min(inside.width(), kMaxLine));
    // A wide, low card has space for one line only.
    if (face.width() > 6 * face.height()) {
        painter.setPen(Qt::white);
        DrawLine(painter, inside, FontOf(0.4 * face.height(), true),
                 title == kind ? title : title + QStringLiteral("  ·  ") + kind);
        return;
    }
    const QFont small = FontOf(0.8 * kUnit, false);
    painter.setPen(QColor(255, 255, 255, 190));
    if (title != kind)
        DrawLine(painter, {inside.left(), inside.top(), inside.width(), kUnit}, small, kind);
    DrawLine(painter, {inside.left(), inside.bottom() - kUnit, inside.width(), kUnit}, small, details);
    painter.setPen(Qt::white);
    painter.setFont(FontOf(1.4 * kUnit, true));
    QTextOption wrapped(Qt::AlignLeft | Qt::AlignVCenter);
    wrapped.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    painter.drawText(inside.adjusted(0, 1.2 * kUnit, 0, -1.2 * kUnit), title, wrapped);
}

/// Such as "1:02:03" or "2:03".
QString LengthText(std::int64_t milliseconds)
{
    const std::int64_t seconds = milliseconds / 1000;
    const auto twoDigits = [](std::int64_t number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    const QString tail = twoDigits(seconds % 60);
    const std::int64_t minutes = seconds / 60;
    if (minutes < 60)
        return QStringLiteral("%1:%2").arg(minutes).arg(tail);
    return QStringLiteral("%1:%2:%3").arg(minutes / 60).arg(twoDigits(minutes % 60), tail);
}

} // namespace

QString KindName(int type)
{
    return QString::fromUtf8(KindOf(type).name);
}

void DrawCard(QPainter& painter, const QSizeF& size, int type, const QString& title, const QString& details)
{
    const QColor colour = QColor::fromRgb(KindOf(type).colour);
    const double scale = std::min(size.height() / 9, size.width() / 16) / kUnit;
    QRectF face(QPointF(0, 0), size / scale);

    painter.save();
    painter.scale(scale, scale);
    painter.setPen(Qt::NoPen);
    // A group is drawn as a stack of cards.
    if (type == ResourceType::Group || type == ResourceType::ScrollingGroup) {
        constexpr double kStep = 0.4 * kUnit;
        painter.setBrush(colour.darker(260));
        painter.drawRoundedRect(face.adjusted(2 * kStep, 0, 0, -2 * kStep), kRound, kRound);
        painter.setBrush(colour.darker(190));
        painter.drawRoundedRect(face.adjusted(kStep, kStep, -kStep, -kStep), kRound, kRound);
        face.adjust(0, 2 * kStep, -2 * kStep, 0);
    }
    QLinearGradient ground(face.topLeft(), face.bottomRight());
    ground.setColorAt(0, colour);
    ground.setColorAt(1, colour.darker(230));
    painter.setBrush(ground);
    QPainterPath card;
    card.addRoundedRect(face, kRound, kRound);
    painter.drawPath(card);
    painter.setBrush(QColor(255, 255, 255, 22));
    for (const double radius : {4 * kUnit, 2.4 * kUnit}) {
        QPainterPath circle;
        circle.addEllipse(face.topRight() + QPointF(-kUnit, kUnit), radius, radius);
        painter.drawPath(circle.intersected(card));
    }
    DrawLabels(painter, face, KindName(type), title, details);
    painter.restore();
}

QString DetailsOf(const SResource& resource)
{
    QStringList details;
    const QSize resolution = resource.base.GetResolution();
    if (!resolution.isEmpty())
        details.append(QStringLiteral("%1 × %2").arg(resolution.width()).arg(resolution.height()));
    if (resource.base.GetDuration() > 0)
        details.append(LengthText(resource.base.GetDuration()));
    if (resource.pages > 1)
        details.append(QStringLiteral("%1 pages").arg(resource.pages));
    return details.join(QStringLiteral("  ·  "));
}

QString DetailsOf(const SResource& resource, int page)
{
    return resource.pages > 1 ? QStringLiteral("Page %1 of %2").arg(qint64{page} + 1).arg(resource.pages)
                              : DetailsOf(resource);
}
