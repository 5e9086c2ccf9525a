#include "ExternalController/Common/Command.h"
#include "Interfaces/RenderController.h"
#include "Senders/Case.h"

#include <QBuffer>
#include <QImage>

namespace {

constexpr double kAim = 1.1;

const QImage& Image()
{
    static const QImage image = MakePicture({1920, 1080});
    return image;
}

/// Replaces the host's function: the time to paint a medium is not the module's.
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
