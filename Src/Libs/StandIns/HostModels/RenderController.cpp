#include "Interfaces/RenderController.h"

#include "HostModels/HostModels.h"
#include "HostModels/Painting.h"

namespace {

class CHostRenderController : public CRenderController {
public:
    QImage GetStageViewImage() override
    {
        const SShow& show = CHostShow::GetInstance().Reading();
        const SScene* scene = show.CurrentScene();
        return Painting::PaintStage(show, scene ? *scene : SScene());
    }

    QImage GetImageWithAlpha(const QUuid& mediaId) override
    {
        const CMediaNode* medium = CHostShow::GetInstance().Reading().FindStageMedia(mediaId);
        return medium ? Painting::PaintMedium(*CHostShow::GetInstance().Reading().Project(), *medium) : QImage();
    }

    bool GetMediaStreamPushUrl(const QUuid& mediaId, QString& url) override
    {
        const QString stage = HostModels::SoftwareSetting().GetStageStreamUrl();
        if (stage.isEmpty() || !CHostShow::GetInstance().Reading().FindStageMedia(mediaId))
            return false;
        url = stage + '/' + mediaId.toString(QUuid::WithoutBraces);
        return true;
    }
};

} // namespace

CRenderController* GetRenderController()
{
    static CHostRenderController controller;
    CHostShow::GetInstance().BeginReading();
    return &controller;
}
