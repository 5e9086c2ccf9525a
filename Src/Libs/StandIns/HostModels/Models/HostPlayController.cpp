#include "Interfaces/PlayController.h"

#include "HostModels/Show/HostShow.h"
#include "HostModels/Show/ShowJson.h"

#include <algorithm>

namespace {

/// The media of the current scene, the lowest first.
const std::vector<CMediaNode>& StageMedia(const SShow& show)
{
    static const std::vector<CMediaNode> none;
    const SScene* scene = show.CurrentScene();
    return scene ? scene->media : none;
}

class CHostPlayController : public CPlayController {
public:
    bool GetStageIsPlaying() override { return CShowReading()->playback.state == SPlayback::Playing; }
    bool GetStageIsPausing() override { return CShowReading()->playback.state == SPlayback::Paused; }
    int GetGlobalPlayState() override { return CShowReading()->playback.globalState; }

    std::pair<float, float> GetVolumn() override
    {
        const CShowReading show;
        return {show->playback.leftVolume, show->playback.rightVolume};
    }

    QStringList GetAllStageMediaId() override
    {
        const CShowReading show;
        QStringList ids;
        for (const CMediaNode& medium : StageMedia(*show))
            ids.append(medium.GetId().toString(QUuid::WithoutBraces));
        return ids;
    }

    std::list<CMediaNode> GetStageMedias() override
    {
        const CShowReading show;
        return {StageMedia(*show).begin(), StageMedia(*show).end()};
    }

    bool GetMediaPlayData(const QUuid& mediaId, SMediaPlayData& data) override
    {
        const CShowReading show;
        const CMediaNode* medium = show->FindStageMedia(mediaId);
        if (!medium)
            return false;
        const std::int64_t begin = medium->GetPlayProperty()->startPlayTime;
        const std::int64_t end = std::max(begin, medium->GetTimingProperty()->totalTime);
        const std::int64_t played = show->playback.PositionAt(SPlayback::Clock::now()).count();
        data.currentTime = std::min(begin + played, end);
        data.mediaState = show->playback.state;
        return true;
    }

    QJsonObject SaveStageData() override
    {
        const CShowReading show;
        QJsonArray media;
        for (const CMediaNode& medium : StageMedia(*show))
            media.append(ToJson(medium));
        return {{"scene", show->playback.scene.toString(QUuid::WithoutBraces)},
                {"state", show->playback.globalState},
                {"leftVolume", double{show->playback.leftVolume}},
                {"rightVolume", double{show->playback.rightVolume}},
                {"media", media}};
    }

    std::shared_ptr<const SMediaShareProperty> GetMediaSharePty(const QUuid& resourceId, bool create) override
    {
        const CShowReading show;
        const SResource* resource = show->Project() ? show->Project()->ResourceById(resourceId) : nullptr;
        if (!resource || !(resource->scroll || create))
            return nullptr;
        return std::make_shared<const SMediaShareProperty>(
            SMediaShareProperty{resource->scroll.value_or(SScrollSettings{})});
    }
};

} // namespace

CPlayController* GetPlayController()
{
    static CHostPlayController controller;
    return &controller;
}
