#include "Interfaces/PPtPlayerMgr.h"

#include "HostModels/Show/HostShow.h"

class IPPtPlayer {};

namespace {

/// A presentation has a player while it is in the current scene, provided that its file was found.
class CHostPPtPlayerMgr : public CPPtPlayerMgr {
public:
    IPPtPlayer* GetPPtPlayer(const QUuid& mediaId) override
    {
        static IPPtPlayer player;
        const CShowReading show;
        const CMediaNode* medium = show->FindStageMedia(mediaId);
        const SResource* resource = medium ? show->Project()->ResourceById(medium->GetResourceId()) : nullptr;
        return resource && resource->fileFound ? &player : nullptr;
    }
};

} // namespace

CPPtPlayerMgr* GetPPtPlayerMgr()
{
    static CHostPPtPlayerMgr manager;
    return &manager;
}
