#include "FuzzHost.h"

#include "HostModels/HostModels.h"
#include "ShowHost/ShowChanges.h"

#include <QJsonDocument>

namespace {

bool IsSame(const SShow& a, const SShow& b)
{
    return a.openProject == b.openProject && a.playback.scene == b.playback.scene &&
           a.playback.state == b.playback.state && a.effect.black == b.effect.black && a.effect.mute == b.effect.mute &&
           a.effect.volume == b.effect.volume && a.effect.luminance == b.effect.luminance && a.projects == b.projects &&
           a.screens == b.screens;
}

} // namespace

// Commands that change the show, without their channels.
void FuzzInput(std::string_view input)
{
    SShow show = *HostModels::Show().Current();
    FuzzHost::ForEachRequest(input, [&](const FuzzHost::SRequest& request) {
        const ShowChange change = FindShowChange(static_cast<int>(request.code));
        if (!change)
            return;
        const SShow before = show;
        std::vector<SShowEvent> events;
        const auto body = QByteArray::fromRawData(request.body.data(), static_cast<int>(request.body.size()));
        const ResultText::Index result = change(show, QJsonDocument::fromJson(body).object(), events);
        FuzzHost::RequireConsistent(show);
        if (result != ResultText::Success)
            FuzzHost::Require(events.empty() && IsSame(before, show), "a refused command changes nothing");
    });
}
