#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/MsgSender/StageMsgSender.h"

#include <functional>
#include <utility>
#include <vector>

namespace {

void Change(const std::function<void(SEffect&, SPlayback&)>& change)
{
    HostModels::Show().Change([&](SShow& show) { change(show.effect, show.playback); });
}

/// Sets different values that single precision represents exactly.
void SetColours(SEffect& effect, SPlayback&)
{
    effect.blue = 0.125F;
    effect.red = 0.25F;
    effect.green = 0.375F;
    effect.contrast = 0.5F;
    effect.luminance = 0.625F;
    effect.saturation = 0.75F;
    effect.hue = 0.875F;
}

} // namespace

using StageSenderTest = SenderTestOf<CStageMsgSender>;

TEST_F(StageSenderTest, EachQueryIsAnsweredToItsRecipients)
{
    constexpr int kSources[] = {0x0000, 0x0001, 0x0010, 0x0100, 0x1000, 0x0101, 0x0110, 0x1111};
    using namespace Command;
    using To::App, To::AppAndFP, To::CentralControl, To::FP, To::None;
    const struct {
        std::vector<int> codes;
        std::vector<Recipients> recipients; ///< one for each element of kSources
    } cases[] = {
        {{ScreenList, MediaList}, {App, App, App, App, App, App, App, App}},
        {{BlackScreen, Volume, PlayStateNumber, VolumeState}, {None, None, FP, None, None, None, FP, FP}},
        {{ProjectList}, {None, App, FP, None, None, App, FP, AppAndFP}},
        {{PictureAdjustment}, {App, App, FP, CentralControl, App, App, App, App}},
        {{AppControlMode, StagePreviewMode}, {None, App, None, None, None, App, None, App}},
        {{PlayStateText, PreviewPath, HdrState, MuteState},
         {None, None, None, CentralControl, None, CentralControl, CentralControl, CentralControl}},
        {{BlackScreenState}, {None, None, FP, CentralControl, None, CentralControl, CentralControl, CentralControl}},
        {{WindowStreamPath}, {None, None, None, None, None, None, None, None}},
    };
    LoadShow({MakeProject(7)});

    for (const auto& [codes, recipients] : cases) {
        for (const int code : codes) {
            for (std::size_t i = 0; i < recipients.size(); ++i) {
                EXPECT_EQ(RecipientsOf(Ask(code, kRemote, kSources[i])), recipients[i])
                    << "code 0x" << std::hex << code << " from 0x" << kSources[i];
            }
        }
    }
}

TEST_F(StageSenderTest, ColoursAndModesAreNotMixedUp)
{
    SProject project = MakeProject(7);
    project.appControlMode = 3;
    LoadShow({project});
    SSettings settings;
    settings.stagePreviewMode = 4;
    HostModels::SoftwareSetting().Load(settings, {});
    Change(&SetColours);

    Expect({{0x119, "", Source::App, To::App, R"({"mode": 3, "result": 1})"},
            {0x121, "", Source::App, To::App, R"({"mode": 4, "result": 1})"},
            {0x112, "", Source::App, To::App, R"({"fBlue": 0.12500011920928955, "fRed": 0.25000011920928955,
                "fGreen": 0.37500011920928955, "fContrast": 0.5000001192092896, "fLuminance": 0.6250001192092896,
                "fSaturability": 0.7500001192092896, "fHue": 0.8750001192092896})"}});
}

TEST_F(StageSenderTest, ASnapshotHasTheWholeStateOfTheStage)
{
    const SResource video = MakeResource(5, 0);
    SProject project =
        MakeProject(1, {MakeGroup(2, {MakeScene(3, {MakeMedium(31, video), MakeMedium(32, video)})})}, {video});
    project.stageZoomRatio = "75%";
    LoadShow({project});
    SSettings settings;
    settings.stageColor = QColor(1, 2, 3);
    HostModels::SoftwareSetting().Load(settings, {});

    for (const bool black : {false, true}) {
        for (const int state : {0, 1, 2}) {
            Change([&](SEffect& effect, SPlayback& playback) {
                SetColours(effect, playback);
                effect.black = black;
                effect.mute = !black;
                effect.volume = 0.5F;
                playback.globalState = state;
                playback.leftVolume = 0.25F;
                playback.rightVolume = 0.75F;
            });
            QJsonObject stage = Json(R"({"result": 1, "currentSceneGroupId": "#2", "currentSceneId": "#3",
                "mediaIdList": ["#31", "#32"], "ratio": "75%", "leftVolumn": 0.25000011920928955,
                "rightVolumn": 0.7500001192092896, "stageColorR": 1, "stageColorG": 2, "stageColorB": 3,
                "stagePicData": {"fBlue": 0.125, "fRed": 0.25, "fGreen": 0.375, "fContrast": 0.5, "fLuminance": 0.625,
                                 "fSaturability": 0.75, "fHue": 0.875}})");
            stage["blackScreen"] = black;
            stage["globalVolumn"] = black ? 0.5000005960464478 : 0;
            stage["globalPlayState"] = state;
            for (const int code : {0x100, 0x107})
                EXPECT_THAT(Ask(code, kRemote, Source::FP), Answers(To::App, code, {{"stageData", stage}}));
        }
    }
}

TEST_F(StageSenderTest, EachStateHasItsText)
{
    const struct {
        SPlayback::State state;
        const char *text, *mute, *black, *hdr;
        bool hdrOn;
        int hdrKind;
    } cases[] = {
        {SPlayback::Playing, "Play", "mute", "unBlack", R"("HDRState": "opened", "HDRType": "software")", true, 1},
        {SPlayback::Paused, "Pause", "unmute", "balck", R"("HDRState": "closed", "HDRType": "hardware")", false, 0},
        {SPlayback::Stopped, "Stop", "mute", "unBlack", R"("HDRState": "closed", "HDRType": "software")", false, 1},
        {SPlayback::Playing, "Play", "unmute", "balck", R"("HDRState": "opened", "HDRType": "hardware")", true, 2},
    };

    for (const auto& [state, text, mute, black, hdr, hdrOn, hdrKind] : cases) {
        SProject project = MakeProject(1);
        project.hdr = hdrOn;
        project.hdrKind = hdrKind;
        LoadShow({project});
        Change([&, state = state, mute = mute, black = black](SEffect& effect, SPlayback& playback) {
            playback.state = state;
            playback.globalState = 2 - state;
            effect.mute = mute[0] == 'm';
            effect.black = black[0] == 'b';
            effect.volume = 0.25F;
        });
        const auto with = [](const char* key, const std::string& value) {
            return "{\"" + std::string(key) + "\": " + value + '}';
        };
        const auto quoted = [](const std::string& value) { return '"' + value + '"'; };
        const std::string blackState = with("blackState", quoted(black));
        Expect({{0x122, "", Source::Every, To::CentralControl, with("GlobalPlayState", quoted(text))},
                {0x191, "", Source::Every, To::FP, with("globalPlayState", std::to_string(2 - state))},
                {0x192, "", Source::Every, To::FP, with("globalVolume", "0.25")},
                {0x193, "", Source::Every, To::CentralControl, blackState},
                {0x193, "", Source::FP, To::FP, blackState},
                {0x194, "", Source::Every, To::CentralControl, R"({"port": 5540, "previewPath": "Zentravox/Preview"})"},
                {0x196, "", Source::Every, To::CentralControl, '{' + std::string(hdr) + '}'},
                {0x198, "", Source::Every, To::CentralControl, with("globalMuteState", quoted(mute))}});
    }
}

TEST_F(StageSenderTest, AnExecutedCommandIsSentBackToTheFPController)
{
    for (const int code : {0x103, 0x105})
        Expect({{code, R"("result": 0)", Source::Every, To::FP,
                 R"({"remoteIp": "10.0.0.9", "remotePort": 4000, "result": 0})"}});
}

TEST_F(StageSenderTest, ValuesAreCalculatedInSinglePrecision)
{
    LoadShow({MakeProject(1)});
    // Slightly below a power of two the sum lies between two floats.
    Change([](SEffect& effect, SPlayback& playback) {
        playback.leftVolume = 0.49999997F;
        effect.volume = effect.hue = 0.99999994F;
    });
    const QJsonObject stage = BodyOf(Ask(Command::StageSnapshot).at(0))["stageData"].toObject();
    EXPECT_EQ(stage["leftVolumn"], 0.5000001192092896);
    EXPECT_EQ(stage["globalVolumn"], 1.0000004768371582);
    EXPECT_EQ(stage["stagePicData"].toObject()["fHue"], double{0.99999994F});
    EXPECT_EQ(BodyOf(Ask(Command::PictureAdjustment).at(0))["fHue"], 1.0);
    Change([](SEffect& effect, SPlayback&) { effect.mute = true; });
    EXPECT_EQ(BodyOf(Ask(Command::StageSnapshot, kRemote, Source::FP | Source::CentralControl).at(0))["stageData"]
                  .toObject()["globalVolumn"],
              0);

    // 0.29 is stored as a slightly smaller value, but 100 times this value is stored as 29.
    for (const auto& [luminance, percent] : {std::pair(1.0F, 100), std::pair(0.755F, 75), std::pair(0.999F, 99),
                                             std::pair(0.29F, 29), std::pair(-0.509F, -50)}) {
        Change([value = luminance](SEffect& effect, SPlayback&) { effect.luminance = value; });
        for (const auto& [source, recipients] :
             {std::pair(Source::FP, To::FP), std::pair(Source::CentralControl, To::CentralControl)})
            EXPECT_THAT(Ask(0x112, kRemote, source), Answers(recipients, 0x112, {{"globalBrightness", percent}}))
                << luminance;
    }
}

TEST_F(StageSenderTest, AScreenIsSentWithItsDivisions)
{
    SScreen screen = MakeScreen(2);
    screen.place = QRect(-1920, -5, 1920, 1080);
    screen.state = 255;
    screen.added = false;
    screen.divisionType = 3;
    screen.divisions = {QRectF(1280.5, -0.25, 2559.5, 1080)};
    LoadShow({}, {screen});

    Expect({{Command::ScreenList, "", Source::App, To::App, R"({"screenMgrData": {"result": 1, "count": 1,
        "0": {"screenName": "Screen 2", "screenId": "#2", "posX": -1920, "posY": -5, "sizeW": 1920, "sizeH": 1080,
              "state": 255, "isAdded": false, "isUseful": true, "divScreenRectData": {"divScreenType": 3, "divCount": 1,
                  "0": {"x": 1280.5, "y": -0.25, "width": 2559.5, "height": 1080}}}}})"}});
}

TEST_F(StageSenderTest, QueriesThatNeedAProjectAreNotAnsweredWithoutOne)
{
    for (const int code : {Command::StageSnapshot, Command::StageSnapshotAgain, Command::PictureAdjustment,
                           Command::VolumeState, Command::BlackScreenState, Command::MuteState})
        Expect({{code, "", Source::App, To::None, ""},
                {code, "", Source::FP, To::None, ""},
                {code, "", Source::CentralControl, To::None, ""}});
    Expect({{Command::ProjectList, "", Source::App, To::App,
             R"({"result": 1, "count": 0, "currentProId": "#0", "currentProName": ""})"},
            {Command::MediaList, "", Source::App, To::App, R"({"mediaList": {"result": 1, "count": 0}})"},
            {Command::AppControlMode, "", Source::App, To::App, R"({"mode": 0, "result": 1})"},
            {Command::HdrState, "", Source::CentralControl, To::CentralControl,
             R"({"HDRState": "closed", "HDRType": "hardware"})"}});
}
