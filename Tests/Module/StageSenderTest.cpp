#include "Support/SenderTest.h"

#include "ExternalController/MsgSender/StageMsgSender.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

void Change(const std::function<void(SEffect&, SPlayback&)>& change)
{
    HostModels::Show().Change([&](SShow& show) { change(show.effect, show.playback); });
}

/// Each of another value, which single precision holds exactly.
void SetColors(SEffect& effect)
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

TEST_F(StageSenderTest, EachQueryIsAnsweredToThoseItIsFor)
{
    SProject project = MakeProject(7);
    project.appControlMode = 3;
    LoadShow({project});
    Change([](SEffect& effect, SPlayback& playback) {
        SetColors(effect);
        effect.volume = 0.8F;
        effect.mute = true;
        effect.black = true;
        playback.globalState = 5;
    });
    SSettings settings;
    settings.stagePreviewMode = 4;
    settings.stageStreamUrl = "rtsp://elsewhere:1/stage";
    HostModels::SoftwareSetting().Load(settings, {});
    const std::string echo = R"({"remoteIp": "10.0.0.9", "remotePort": 4000})";
    const std::string projects = R"({"result": 1, "count": 1, "currentProId": "#7", "currentProName": "Project 7",
                                     "0": {"projectName": "Project 7", "projectId": "#7"}})";
    const std::string colors = R"({"fBlue": 0.12500011920928955, "fRed": 0.25000011920928955,
        "fGreen": 0.37500011920928955, "fContrast": 0.5000001192092896, "fLuminance": 0.6250001192092896,
        "fSaturability": 0.7500001192092896, "fHue": 0.8750001192092896})";

    constexpr int kSources[] = {0x0000, 0x0001, 0x0010, 0x0100, 0x1000, 0x0011, 0x0101, 0x0110, 0x1111};
    const struct {
        int code;
        std::string reply;
        std::vector<const char*> whom; ///< from each of those sources
    } cases[] = {
        {257, R"({"screenMgrData": {"result": 1, "count": 0}})", {"A", "A", "A", "A", "A", "A", "A", "A", "A"}},
        {259, echo, {"", "", "F", "", "", "F", "", "F", "F"}},
        {261, echo, {"", "", "F", "", "", "F", "", "F", "F"}},
        {265, projects, {"", "A", "F", "", "", "AF", "A", "F", "AF"}},
        {274, R"({"globalBrightness": 62})", {nullptr, nullptr, "F", "C"}},
        {274, colors, {"A", "A", nullptr, nullptr, "A", "A", "A", "A", "A"}},
        {281, R"({"mode": 3, "result": 1})", {"", "A", "", "", "", "A", "A", "", "A"}},
        {289, R"({"mode": 4, "result": 1})", {"", "A", "", "", "", "A", "A", "", "A"}},
        {290, R"({"GlobalPlayState": "Pause"})", {"", "", "", "C", "", "", "C", "C", "C"}},
        {401, R"({"globalPlayState": 5})", {"", "", "F", "", "", "F", "", "F", "F"}},
        {402, R"({"globalVolume": 0.800000011920929})", {"", "", "F", "", "", "F", "", "F", "F"}},
        {403, R"({"blackState": "balck"})", {"", "", "F", "C", "", "F", "C", "C", "C"}},
        {404, R"({"port": 5540, "previewPath": "Zentravox/Preview"})", {"", "", "", "C", "", "", "C", "C", "C"}},
        {406, R"({"HDRState": "closed", "HDRType": "hardware"})", {"", "", "", "C", "", "", "C", "C", "C"}},
        {408, R"({"globalMuteState": "mute"})", {"", "", "", "C", "", "", "C", "C", "C"}},
        {512, R"({"mediaList": {"result": 1, "count": 0}})", {"A", "A", "A", "A", "A", "A", "A", "A", "A"}},
        {665, "", {"", "", "", "", "", "", "", "", ""}},
    };

    for (const auto& [code, reply, whom] : cases) {
        for (std::size_t i = 0; i < whom.size(); ++i) {
            if (whom[i])
                Expect({{code, "", kSources[i], whom[i], reply}});
        }
    }
}

TEST_F(StageSenderTest, TheStatesHaveTheseWords)
{
    const struct {
        SPlayback::State state;
        bool hdr;
        int hdrKind;
        const char *play, *hdrState;
    } cases[] = {{SPlayback::Playing, false, 1, R"({"GlobalPlayState": "Play"})",
                  R"({"HDRState": "closed", "HDRType": "software"})"},
                 {SPlayback::Stopped, true, 2, R"({"GlobalPlayState": "Stop"})",
                  R"({"HDRState": "opened", "HDRType": "hardware"})"}};
    for (const auto& [state, hdr, hdrKind, play, hdrState] : cases) {
        SProject project = MakeProject(1);
        project.hdr = hdr;
        project.hdrKind = hdrKind;
        LoadShow({project});
        Change([value = state](SEffect&, SPlayback& playback) { playback.state = value; });
        Expect({{290, "", 0x0100, "C", play}, {406, "", 0x0100, "C", hdrState}});
    }
    Expect({{403, "", 0x0100, "C", R"({"blackState": "unBlack"})"},
            {408, "", 0x0100, "C", R"({"globalMuteState": "unmute"})"}});
}

TEST_F(StageSenderTest, ValuesAreReckonedInSinglePrecision)
{
    LoadShow({MakeProject(1)});
    // Just below a power of two the sum falls between two floats.
    Change([](SEffect& effect, SPlayback& playback) {
        playback.leftVolume = 0.49999997F;
        effect.volume = effect.hue = 0.99999994F;
    });
    const QJsonObject stage = BodyOf(Ask(256).at(0))["stageData"].toObject();
    EXPECT_EQ(stage["leftVolumn"], 0.5000001192092896);
    EXPECT_EQ(stage["globalVolumn"], 1.0000004768371582);
    EXPECT_EQ(stage["stagePicData"].toObject()["fHue"], double{0.99999994F});
    EXPECT_EQ(BodyOf(Ask(274).at(0))["fHue"], 1.0);
    Change([](SEffect& effect, SPlayback&) { effect.mute = true; });
    EXPECT_EQ(BodyOf(Ask(256, kRemote, 0x0110).at(0))["stageData"].toObject()["globalVolumn"], 0);

    // 0.29 is stored as less than that, but its hundredfold as 29.
    for (const auto& [luminance, percent] : {std::pair(1.0F, 100), std::pair(0.755F, 75), std::pair(0.999F, 99),
                                             std::pair(0.29F, 29), std::pair(-0.509F, -50)}) {
        Change([value = luminance](SEffect& effect, SPlayback&) { effect.luminance = value; });
        EXPECT_THAT(Ask(274, {}, 0x0010), Answers("F", 274, {{"globalBrightness", percent}})) << luminance;
    }
}

TEST_F(StageSenderTest, ALongListsNumbersGoOn)
{
    std::vector<SProject> projects;
    QJsonObject reply = {
        {"result", 1}, {"count", 112}, {"currentProId", IdText(1000)}, {"currentProName", "Project 1000"}};
    for (int i = 0; i < 112; ++i) {
        projects.push_back(MakeProject(1000 + i));
        reply[QString::number(i)] = QJsonObject{{"projectName", projects.back().name}, {"projectId", IdText(1000 + i)}};
    }
    LoadShow(projects);

    EXPECT_THAT(Ask(265), Answers("A", 265, reply));
}

TEST_F(StageSenderTest, AScreenIsToldWithItsParts)
{
    SScreen left = MakeScreen(1);
    left.place = QRect(-1920, -5, 1920, 1080);
    left.state = 255;
    left.useful = false;
    SScreen right = MakeScreen(2);
    right.added = false;
    right.divisionType = 3;
    right.divisions = {QRectF(0, 0, 1280.5, 1080), QRectF(1280.5, -0.25, 2559.5, 1080)};
    LoadShow({}, {left, right});

    Expect({{257, "", 0x0001, "A", R"({"screenMgrData": {"result": 1, "count": 2,
        "0": {"screenName": "Screen 1", "screenId": "#1", "posX": -1920, "posY": -5, "sizeW": 1920, "sizeH": 1080,
              "state": 255, "isAdded": true, "isUseful": false,
              "divScreenRectData": {"divScreenType": 0, "divCount": 0}},
        "1": {"screenName": "Screen 2", "screenId": "#2", "posX": 0, "posY": 0, "sizeW": 0, "sizeH": 0,
              "state": 0, "isAdded": false, "isUseful": true,
              "divScreenRectData": {"divScreenType": 3, "divCount": 2,
                  "0": {"x": 0, "y": 0, "width": 1280.5, "height": 1080},
                  "1": {"x": 1280.5, "y": -0.25, "width": 2559.5, "height": 1080}}}}})"}});
}

TEST_F(StageSenderTest, WithoutAProjectWhatNeedsOneStaysSilent)
{
    for (const int code : {256, 263, 274, 402, 403, 408})
        Expect({{code, "", 0x0001, "", ""}, {code, "", 0x0010, "", ""}, {code, "", 0x0100, "", ""}});
    Expect({{265, "", 0x0001, "A", R"({"result": 1, "count": 0, "currentProId": "#0", "currentProName": ""})"},
            {512, "", 0x0001, "A", R"({"mediaList": {"result": 1, "count": 0}})"},
            {281, "", 0x0001, "A", R"({"mode": 0, "result": 1})"},
            {406, "", 0x0100, "C", R"({"HDRState": "closed", "HDRType": "hardware"})"}});
}
