#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/Picture.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"

#include <string>

namespace {

SResource MakeText(int id, int weight, QFont::Style style)
{
    QFont font("Sans Serif", -1, weight);
    font.setStyle(style);
    font.setUnderline(style == QFont::StyleNormal);
    SResource resource = MakeResource(id, ResourceType::Text);
    resource.text = {font, 4, QColor(1, 2, 3), style == QFont::StyleNormal, QColor(5, 6, 7), 8, 9, "Grüße\n"};
    return resource;
}

const std::string kVideoCapabilities = R"("showResolution": true, "needPushStream": true, "multiPageResource": false,
    "volumeSupport": true, "flipSupport": true, "isVideoResource": true, "isPicResource": false,
    "isGroupResource": false, "isTextResource": false, "streamWithAlpha": false, "isSupportScroll": false,
    "isSupportFillMode": true, "isHasRealThumbnail": true)";

} // namespace

using ResourceSenderTest = SenderTestOf<CResourceMsgSender>;

TEST_F(ResourceSenderTest, TheListHasDemuxedResourcesAndAnItemHasNoPath)
{
    const SResource clip = MakeResource(
        {Id(5), ResourceType::Video, "Clip", "Medien/Übung 1.mp4", QSize(1920, 1080), true, 5000000000, 0});
    const SResource waiting =
        MakeResource({Id(6), ResourceType::Video, "Logo", "logo.mp4", QSize(640, 480), false, 7, 0});
    LoadStage({clip, waiting, MakeResource(4, ResourceType::Video)}, {MakeMedium(31, clip), MakeMedium(32, clip)});
    const auto object = [](const std::string& members) { return '{' + members + ", " + kVideoCapabilities + '}'; };
    const std::string first = R"("resourceId": "#5", "resourceName": "Clip", "resourceType": 0,
        "path": "Medien/Übung 1.mp4", "resolutionW": 1920, "resolutionH": 1080, "demuxerSuccessed": true,
        "duration": 5000000000, "isUsedFlag": true)";
    const std::string second = R"("resourceId": "#4", "resourceName": "Resource 4", "resourceType": 0, "path": "",
        "resolutionW": -1, "resolutionH": -1, "demuxerSuccessed": true, "duration": 0, "isUsedFlag": false)";
    const std::string item = R"("resourceId": "#6", "resourceName": "Logo", "resourceType": 0, "path": "",
        "resolutionW": 640, "resolutionH": 480, "demuxerSuccessed": false, "duration": 7)";

    Expect(
        {{0x400, "", Source::FP | Source::CentralControl, To::App,
          R"({"result": 1, "count": 2, "resourceMgrData": [)" + object(first) + ", " + object(second) + "]}"},
         {0x401, R"("resourceId": "{#6}")", Source::Every, To::App,
          R"({"remoteIp": "10.0.0.9", "remotePort": 4000, "resourceData": )" + object(item) + '}'},
         {0x401, R"("resourceId": "#6")", Source::FP | Source::CentralControl | Source::CloudControl, To::None, ""}});
}

TEST_F(ResourceSenderTest, APictureIsSentAsPngWithTheIdOfItsResource)
{
    LoadStage({MakeResource(4, ResourceType::Audio), MakeResource(5, ResourceType::Video)});

    const auto calls = Ask(0x403, {{"resourceId", IdText(5)}}, Source::FP | Source::CentralControl);

    const QImage picture = QImage::fromData(PictureIn(calls, 0x10000403, Id(5)), "PNG");
    EXPECT_EQ(Difference(picture, CResourceModel::GetInstance()->GetAppThumbnail(Id(5)).toImage()), 0);
}

TEST_F(ResourceSenderTest, AnUnknownResourceIsNotAnswered)
{
    LoadStage({MakeResource(6, ResourceType::Picture), MakeText(7, 50, QFont::StyleNormal)});

    for (const char* id : {R"("tag": "")", R"("resourceId": "")", R"("resourceId": "#0")", R"("resourceId": "#5")",
                           R"("resourceId": 6)", R"("resourceId": "x#6")"})
        Expect({{Command::ResourceItem, id, Source::App, To::None, ""},
                {Command::ResourceThumbnail, id, Source::App, To::None, ""},
                {Command::TextResource, id, Source::App, To::App, R"({"result": 4003})"}});
    // The resource is not a text.
    Expect({{Command::TextResource, R"("resourceId": "#6")", Source::FP | Source::CentralControl, To::App,
             R"({"result": 4003})"}});
    LoadShow({});
    Expect({{Command::TextResource, R"("resourceId": "#7")", Source::App, To::App, R"({"result": 4003})"},
            {Command::ResourceList, "", Source::App, To::App, R"({"result": 1, "count": 0, "resourceMgrData": []})"}});
}

TEST_F(ResourceSenderTest, ATextIsSentWithItsSettingsAndWithScrollingIfItHasAny)
{
    SResource scrolling = MakeText(8, 57, QFont::StyleNormal);
    scrolling.scroll = SScrollSettings{2, 0.1F, true, 11};
    LoadStage({MakeText(7, 58, QFont::StyleOblique), scrolling});
    const std::string common = R"("remoteIp": "x", "result": 1, "font": "Sans Serif", "horAlignMent": 4,
        "textColorR": 1, "textColorG": 2, "textColorB": 3, "backGroundColorR": 5, "backGroundColorG": 6,
        "backGroundColorB": 7, "showType": 8, "colorTextEffect": 9, "textContent": "Grüße\n", )";
    const auto reply = [&](const std::string& members) {
        QJsonObject object = Json('{' + common + members + '}');
        object.remove("remoteIp");
        return object;
    };

    EXPECT_THAT(Ask(0x404, {{"resourceId", IdText(7)}}, Source::FP),
                Answers(To::App, 0x404, reply(R"("resourceId": "#7", "bold": true, "italic": true, "underLine": false,
                                                 "hasBackGroundColor": false)")));
    EXPECT_THAT(Ask(0x404, {{"resourceId", IdText(8)}}),
                Answers(To::App, 0x404, reply(R"("resourceId": "#8", "bold": false, "italic": false, "underLine": true,
                    "hasBackGroundColor": true, "scrollMode": 2, "headConnectTail": true, "scrollInterval": 11,
                    "scrollSpeed": 0.10000000149011612)")));
}

TEST_F(ResourceSenderTest, WhatTheHostSupportsIsSentToTheAppForRequestsOfAnySource)
{
    const std::string video = R"("mp4", "3gp", "m2t", "m2ts", "bhd", "asx", "mpe", "vcd", "dvd", "dat", "m4v", "webm",
        "rmvb", "rm", "wmv", "asf", "mpeg", "mpg", "ts", "tp", "mov", "flv", "avi", "mkv", "vob")";
    const std::string audio = R"("m4a", "mp3", "wav")";
    const std::string pictures = R"("bmp", "png", "jpg", "tiff", "tga", "webp", "jpeg")";
    const std::string documents = R"("ppt", "pptx", "xlsx", "xls", "xlm", "xla", "xlt", "xll", "pdf", "doc", "docx")";
    const int sources = Source::FP | Source::CentralControl;
    std::vector<CallMatcher> thumbnails;
    for (const int type : {0, 1, 2, 8, 15, 23, 24}) {
        const QByteArray png = Encode(CResourceModel::GetInstance()->GetSharedResourceThumbnail(type), "png");
        thumbnails.push_back(
            Sent(0x10000417, {{"result", 1}, {"resType", type}, {"data", QString(png.toBase64())}}, AppServer::Bulk));
    }

    Expect({{0x416, "", sources, To::App,
             R"({"supportList": [)" + video + ',' + audio + ',' + pictures + ',' + documents +
                 R"(], "supportVideoType": [)" + video + R"(], "supportAudioType": [)" + audio +
                 R"(], "supportPicType": [)" + pictures + R"(], "supportDocType": [)" + documents +
                 R"(], "supportOther": []})"},
            {0x405, "", sources, To::App, R"({"fontFamilies": ["Example Serif", "例示"]})"},
            {0x421, "", sources, To::App, R"({"remoteIp": "10.0.0.9", "remotePort": 4000})"}});
    EXPECT_THAT(Ask(0x417, kRemote, sources), testing::ElementsAreArray(thumbnails));
}
