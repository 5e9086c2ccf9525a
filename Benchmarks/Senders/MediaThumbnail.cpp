#include "ExternalController/Common/Command.h"
#include "Interfaces/RenderController.h"
#include "Senders/Case.h"

#include <QBuffer>
#include <QImage>

namespace {

constexpr double kAim = 1.1;

/// Smooth like a photo, with some grain and a transparent edge.
QImage MakeImage()
{
    QImage image(1920, 1080, QImage::Format_ARGB32);
    quint32 grain = 1;
    for (int y = 0; y < image.height(); ++y) {
        auto* const line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            grain = grain * 1664525 + 1013904223;
            const int noise = static_cast<int>(grain >> 30);
            line[x] = qRgba(x * 250 / image.width() + noise, y * 250 / image.height() + noise, (x + y) % 250 + noise,
                            x < 16 ? x * 16 : 255);
        }
    }
    return image;
}

const QImage& Image()
{
    static const QImage image = MakeImage();
    return image;
}

/// In the place of the host's: what it takes to paint a medium is no cost of the module's.
class CReadyRenderController : public CRenderController {
public:
    QImage GetStageViewImage() override { return Image(); }
    QImage GetImageWithAlpha(const QUuid&) override { return Image(); }
    bool GetMediaStreamPushUrl(const QUuid&, QString&) override { return false; }
};

QByteArray ThumbnailByHand()
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    Image().scaled(320, 180, Qt::IgnoreAspectRatio, Qt::FastTransformation).save(&buffer, "png");
    return png;
}

} // namespace

CRenderController* GetRenderController()
{
    static CReadyRenderController controller;
    return &controller;
}

std::vector<SCase> Cases::MediaThumbnail()
{
    const QByteArray body = R"({"mediaId":")" + IdOf(2, 0).toByteArray(QUuid::WithoutBraces) + R"("})";
    return {{"media-thumbnail", 1, kAim, [] {}, [=] { Ask(Command::MediaThumbnail, body); }, ThumbnailByHand}};
}
