#include "Interfaces/RenderController.h"

#include "HostModels/HostModels.h"
#include "HostModels/Pictures/Painting.h"

namespace {

class CHostRenderController : public CRenderController {
public:
    QImage GetStageViewImage() override
    {
        const CShowReading show;
        const SScene* scene = show->CurrentScene();
        return Painting::PaintStage(*show, scene ? *scene : SScene());
    }

    QImage GetImageWithAlpha(const QUuid& mediaId) override
    {
        const CShowReading show;
        const CMediaNode* medium = show->FindStageMedia(mediaId);
        return medium ? Painting::PaintMedium(*show->Project(), *medium) : QImage();
    }

    bool GetMediaStreamPushUrl(const QUuid& mediaId, QString& url) override
    {
        const QString stage = HostModels::SoftwareSetting().GetStageStreamUrl();
        if (stage.isEmpty() || !CShowReading()->FindStageMedia(mediaId))
            return false;
        url = stage + '/' + mediaId.toString(QUuid::WithoutBraces);
        return true;
    }
};

} // namespace

CRenderController* GetRenderController()
{
    static CHostRenderController controller;
    return &controller;
}
