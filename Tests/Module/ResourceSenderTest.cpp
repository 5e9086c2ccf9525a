#include "Support/SenderTest.h"

#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"

#include <QFontDatabase>
#include <QJsonArray>

#include <string>

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

const std::string kVideoFlags = R"("showResolution": true, "needPushStream": true, "multiPageResource": false,
    "volumeSupport": true, "flipSupport": true, "isVideoResource": true, "isPicResource": false,
    "isGroupResource": false, "isTextResource": false, "streamWithAlpha": false, "isSupportScroll": false,
    "isSupportFillMode": true, "isHasRealThumbnail": true)";

SResource MakeText(int id, int weight, QFont::Style style)
{
    QFont font("Sans Serif", -1, weight);
    font.setStyle(style);
    font.setUnderline(true);
    SResource resource = MakeResource(id, ResourceType::Text);
    resource.text = {font, 4, QColor(1, 2, 255), true, QColor(4, 5, 6), 7, 8, "Grüße\n\"all\""};
    return resource;
}

} // namespace

using ResourceSenderTest = SenderTestOf<CResourceMsgSender>;

TEST_F(ResourceSenderTest, TheListHasWhatIsDemuxedAndAnItemIsToldWithoutItsPath)
{
    const SResource used = MakeResource(
        {Id(5), ResourceType::Video, "Clip", "Medien/Übung 1.mp4", QSize(1920, 1080), true, 9007199254740993, 2});
    const SResource waiting = MakeResource({Id(6), ResourceType::Video, "Logo", "logo.mp4", QSize(), false, 0, 0});
    LoadStage({used, waiting, MakeResource(4, ResourceType::Video)});
    const std::string list = R"({"result": 1, "count": 2, "resourceMgrData": [
        {"resourceId": "#5", "resourceName": "Clip", "resourceType": 0, "path": "Medien/Übung 1.mp4",
         "resolutionW": 1920, "resolutionH": 1080, "demuxerSuccessed": true, "duration": 9007199254740993,
         "isUsedFlag": true, )" +
                             kVideoFlags + R"(},
        {"resourceId": "#4", "resourceName": "Resource 4", "resourceType": 0, "path": "",
         "resolutionW": -1, "resolutionH": -1, "demuxerSuccessed": true, "duration": 0,
         "isUsedFlag": false, )" +
                             kVideoFlags + "}]}";
    const std::string item = R"({"remoteIp": "10.0.0.9", "remotePort": 4000, "resourceData":
        {"resourceId": "#6", "resourceName": "Logo", "resourceType": 0, "path": "",
         "resolutionW": -1, "resolutionH": -1, "demuxerSuccessed": false, "duration": 0, )" +
                             kVideoFlags + "}}";

    Expect({{1024, "", 0x0110, "A", list},
            {1025, R"("resourceId": "#6")", 0x0001, "A", item},
            {1025, R"("resourceId": "{#6}")", 0x1111, "A", item},
            {1025, R"("resourceId": "#6")", 0x1110, "", ""}});

    LoadStage({waiting});
    Expect({{1024, "", 0x0001, "A", R"({"result": 1, "count": 0, "resourceMgrData": []})"}});
}

TEST_F(ResourceSenderTest, OfAResourceThatIsNotThereNothingIsTold)
{
    LoadStage({MakeResource(6, ResourceType::Picture), MakeText(7, 50, QFont::StyleNormal)});

    for (const char* id : {R"("tag": "")", R"("resourceId": "")", R"("resourceId": "#0")", R"("resourceId": "#5")",
                           R"("resourceId": 6)", R"("resourceId": "x#6")"})
        Expect(
            {{1025, id, 0x0001, "", ""}, {1027, id, 0x0001, "", ""}, {1028, id, 0x0001, "A", R"({"result": 4003})"}});
    // It is no text.
    Expect({{1028, R"("resourceId": "#6")", 0x0110, "A", R"({"result": 4003})"}});
    LoadShow({});
    Expect({{1028, R"("resourceId": "#7")", 0x0001, "A", R"({"result": 4003})"},
            {1024, "", 0x0001, "A", R"({"result": 1, "count": 0, "resourceMgrData": []})"}});
}

TEST_F(ResourceSenderTest, ATextsSettingsAreToldAndItsScrollingIfItHasAny)
{
    SResource scrolling = MakeText(8, 57, QFont::StyleNormal);
    scrolling.scroll = SScrollSettings{2, 0.1F, true, 11};
    LoadStage({MakeText(7, 58, QFont::StyleOblique), scrolling});
    const std::string settings = R"({"result": 1, "font": "Sans Serif", "underLine": true, "horAlignMent": 4,
        "textColorR": 1, "textColorG": 2, "textColorB": 255, "hasBackGroundColor": true, "backGroundColorR": 4,
        "backGroundColorG": 5, "backGroundColorB": 6, "showType": 7, "colorTextEffect": 8,
        "textContent": "Grüße\n\"all\"", )";

    Expect({{1028, R"("resourceId": "{#7}")", 0x0110, "A",
             settings + R"("resourceId": "#7", "bold": true, "italic": true})"},
            {1028, R"("resourceId": "#8")", 0x0001, "A",
             settings + R"("resourceId": "#8", "bold": false, "italic": false, "scrollMode": 2,
                           "headConnectTail": true, "scrollInterval": 11, "scrollSpeed": 0.10000000149011612})"}});
}

TEST_F(ResourceSenderTest, WhatTheHostCanDoIsToldTheAppWhoeverAsks)
{
    EXPECT_THAT(Ask(1046, kRemote, 0x0110), ElementsAre(SentCode(0x10000416)));
    EXPECT_THAT(Ask(1047, kRemote, 0x0110), AllOf(Not(IsEmpty()), Each(SentCode(0x10000417))));
    const QJsonObject fonts = {{"fontFamilies", QJsonArray::fromStringList(QFontDatabase().families())}};
    EXPECT_THAT(Ask(1029, kRemote, 0x0110), Answers("A", 1029, fonts));
    EXPECT_THAT(Ask(1057, kRemote, 0x0110), Answers("A", 1057, kRemote));
}
