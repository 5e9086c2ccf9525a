#include "ShowHost/ShowChanges.h"

#include "Support/ShowBuilder.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "HostModels/HostModels.h"

#include <gmock/gmock.h>

namespace {

/// Returns a show with a paused scene with a presentation of three pages on a black stage, and a second project without
/// a name.
SShow Stage()
{
    SResource document = MakeResource(5, ResourceType::Presentation);
    document.pages = 3;
    SProject nameless;
    LoadShow({MakeProject(1, {MakeGroup(2, {MakeScene(3, {MakeMedium(4, document)})})}, {document}), nameless});
    SShow show = *HostModels::Show().Current();
    show.effect.black = true;
    return show;
}

} // namespace

TEST(ShowChangesTest, AMissingOrUnreadableKeyIsAParameterErrorAndChangesNothing)
{
    const struct {
        Command::Code code;
        const char* body;
    } cases[] = {
        {Command::BlackScreen, "{}"},
        {Command::BlackScreen, R"({"cmd": ""})"},
        {Command::PlayControl, "{}"},
        {Command::Volume, "{}"},
        {Command::OpenScreens, "{}"},
        {Command::PlayNextOrLast, "{}"},
        {Command::Brightness, "{}"},
        {Command::SwitchHdrKind, "{}"},
        {Command::SwitchHdr, "{}"},
        {Command::Mute, "{}"},
        {Command::TurnPages, "{}"},
        {Command::TurnPages, R"({"cmd": "turnAllPPT", "param": null})"},
        {Command::MuteMedia, R"({"mediaId": "#4"})"},
        {Command::MuteMedia, R"({"param": 1})"},
        {Command::SwitchSceneGroup, "{}"},
        {Command::SwitchSceneGroup, R"({"sceneGroupId": "the second", "sceneGrpCol": 1})"},
        {Command::ScenePlay, "{}"},
        {Command::ScenePlay, R"({"sceneId": "#3", "sceneGroupId": "the second"})"},
        {Command::SwitchProject, "{}"},
        {Command::SwitchProject, R"({"projectName": 1})"},
        {Command::SwitchProject, R"({"projectId": "the second"})"},
    };

    for (const auto& [code, body] : cases) {
        SShow show = Stage();
        std::vector<SShowEvent> events;
        EXPECT_EQ(FindShowChange(code)(show, Json(body), events), ResultText::Parameter) << code << body;
        EXPECT_THAT(events, testing::IsEmpty()) << code << body;
        EXPECT_TRUE(show.effect.black) << code << body;
        EXPECT_EQ(show.projects[0], HostModels::Show().Current()->projects[0]) << code << body;
    }
}
