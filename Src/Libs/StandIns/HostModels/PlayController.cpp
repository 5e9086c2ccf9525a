#include "Interfaces/PlayController.h"

#include "HostModels/HostShow.h"
#include "HostModels/ShowJson.h"
#include "Interfaces/PPtPlayerMgr.h"

#include <algorithm>

class IPPtPlayer {};

namespace {

const SPlayback& Playback()
{
    return CHostShow::GetInstance().Reading().playback;
}

/// Of the stage, the lowest first.
const std::vector<CMediaNode>& StageMedia()
{
    static const std::vector<CMediaNode> none;
    const SScene* scene = CHostShow::GetInstance().Reading().CurrentScene();
    return scene ? scene->media : none;
}

const SResource* ResourceById(const QUuid& resourceId)
{
    const SProject* project = CHostShow::GetInstance().Reading().Project();
    return project ? project->ResourceById(resourceId) : nullptr;
}

class CHostPlayController : public CPlayController {
public:
    bool GetStageIsPlaying() override { return Playback().state == SPlayback::Playing; }
    bool GetStageIsPausing() override { return Playback().state == SPlayback::Paused; }
    int GetGlobalPlayState() override { return Playback().globalState; }
    std::pair<float, float> GetVolumn() override { return {Playback().leftVolume, Playback().rightVolume}; }

    QStringList GetAllStageMediaId() override
    {
        QStringList ids;
        for (const CMediaNode& medium : StageMedia())
            ids.append(medium.GetId().toString(QUuid::WithoutBraces));
        return ids;
    }

    std::list<CMediaNode> GetStageMedias() override { return {StageMedia().begin(), StageMedia().end()}; }

    bool GetMediaPlayData(const QUuid& mediaId, SMediaPlayData& data) override
    {
        const CMediaNode* medium = CHostShow::GetInstance().Reading().FindStageMedia(mediaId);
        if (!medium)
            return false;
        const std::int64_t begin = medium->GetPlayProperty()->startPlayTime;
        const std::int64_t end = std::max(begin, medium->GetTimingProperty()->totalTime);
        const std::int64_t played = Playback().PositionAt(SPlayback::Clock::now()).count();
        data.currentTime = std::min(begin + played, end);
        data.mediaState = Playback().state;
        return true;
    }

    QJsonObject SaveStageData() override
    {
        QJsonArray media;
        for (const CMediaNode& medium : StageMedia())
            media.append(ToJson(medium));
        return {{"scene", Playback().scene.toString(QUuid::WithoutBraces)},
                {"state", Playback().globalState},
                {"leftVolume", double{Playback().leftVolume}},
                {"rightVolume", double{Playback().rightVolume}},
                {"media", media}};
    }

    std::shared_ptr<const SMediaShareProperty> GetMediaSharePty(const QUuid& resourceId, bool create) override
    {
        const SResource* resource = ResourceById(resourceId);
        if (!resource || !(resource->scroll || create))
            return nullptr;
        return std::make_shared<const SMediaShareProperty>(
            SMediaShareProperty{resource->scroll.value_or(SScrollSettings{})});
    }
};

/// A presentation plays as long as it is on the stage and its file was there.
class CHostPPtPlayerMgr : public CPPtPlayerMgr {
public:
    IPPtPlayer* GetPPtPlayer(const QUuid& mediaId) override
    {
        static IPPtPlayer player;
        const CMediaNode* medium = CHostShow::GetInstance().Reading().FindStageMedia(mediaId);
        const SResource* resource = medium ? ResourceById(medium->GetResourceId()) : nullptr;
        return resource && resource->fileFound ? &player : nullptr;
    }
};

} // namespace

CPlayController* GetPlayController()
{
    static CHostPlayController controller;
    CHostShow::GetInstance().BeginReading();
    return &controller;
}

CPPtPlayerMgr* GetPPtPlayerMgr()
{
    static CHostPPtPlayerMgr manager;
    CHostShow::GetInstance().BeginReading();
    return &manager;
}
