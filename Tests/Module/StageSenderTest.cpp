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

} // namespace

using StageSenderTest = SenderTestOf<CStageMsgSender>;

TEST_F(StageSenderTest, EachQueryIsAnsweredToItsRecipients)
{
    constexpr int kSources[] = {kNoSource,
                                Source::App,
                                Source::FP,
                                Source::CentralControl,
                                Source::CloudControl,
                                Source::App | Source::FP,
                                Source::App | Source::CentralControl,
                                Source::FP | Source::CentralControl,
                                Source::Every};
    using namespace Command;
    using To::App, To::AppAndFP, To::CentralControl, To::FP, To::None;
    const struct {
        std::vector<int> codes;
        std::vector<Recipients> recipients; ///< one for each element of kSources
    } cases[] = {
        {{ScreenList, MediaList}, {App, App, App, App, App, App, App, App, App}},
        {{BlackScreen, Volume, PlayStateNumber, VolumeState}, {None, None, FP, None, None, FP, None, FP, FP}},
        {{ProjectList}, {None, App, FP, None, None, AppAndFP, App, FP, AppAndFP}},
        {{PictureAdjustment}, {App, App, FP, CentralControl, App, App, App, App, App}},
        {{AppControlMode, StagePreviewMode}, {None, App, None, None, None, App, App, None, App}},
        {{PlayStateText, PreviewPath, HdrState, MuteState},
         {None, None, None, CentralControl, None, None, CentralControl, CentralControl, CentralControl}},
        {{BlackScreenState},
         {None, None, FP, CentralControl, None, FP, CentralControl, CentralControl, CentralControl}},
        {{WindowStreamPath}, {None, None, None, None, None, None, None, None, None}},
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
    // Different values that single precision represents exactly.
    Change([](SEffect& effect, SPlayback&) {
        effect.blue = 0.125F;
        effect.red = 0.25F;
        effect.green = 0.375F;
        effect.contrast = 0.5F;
        effect.luminance = 0.625F;
        effect.saturation = 0.75F;
        effect.hue = 0.875F;
    });

    Expect({{Command::AppControlMode, "", Source::App, To::App, R"({"mode": 3, "result": 1})"},
            {Command::StagePreviewMode, "", Source::App, To::App, R"({"mode": 4, "result": 1})"},
            {Command::PictureAdjustment, "", Source::App, To::App,
             R"({"fBlue": 0.12500011920928955, "fRed": 0.25000011920928955,
                "fGreen": 0.37500011920928955, "fContrast": 0.5000001192092896, "fLuminance": 0.6250001192092896,
                "fSaturability": 0.7500001192092896, "fHue": 0.8750001192092896})"}});
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
        EXPECT_THAT(Ask(Command::PictureAdjustment, {}, Source::FP),
                    Answers(To::FP, Command::PictureAdjustment, {{"globalBrightness", percent}}))
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
