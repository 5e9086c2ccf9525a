#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
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

SResource MakeText(int id, int weight, QFont::Style style)
{
    QFont font("Sans Serif", -1, weight);
    font.setStyle(style);
    font.setUnderline(true);
    SResource resource = MakeResource(id, ResourceType::Text);
    resource.text = {font, 4, {}, false, {}, 7, 8, {}};
    return resource;
}

} // namespace

using ResourceSenderTest = SenderTestOf<CResourceMsgSender>;

TEST_F(ResourceSenderTest, TheListHasDemuxedResourcesAndAnItemHasNoPath)
{
    const QStringList keys = {"resourceId", "path", "resolutionW", "demuxerSuccessed", "duration", "isUsedFlag"};
    const SResource used = MakeResource(
        {Id(5), ResourceType::Video, "Clip", "Medien/Übung 1.mp4", QSize(1920, 1080), true, 5000000000, 2});
    const SResource waiting = MakeResource({Id(6), ResourceType::Video, "Logo", "logo.mp4", QSize(), false, 0, 0});
    LoadStage({used, waiting, MakeResource(4, ResourceType::Video)});

    const QJsonArray list =
        BodyOf(Ask(Command::ResourceList, kRemote, Source::FP | Source::CentralControl).at(0))["resourceMgrData"]
            .toArray();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(Of(list[0].toObject(), keys),
              Json(R"({"resourceId": "#5", "path": "Medien/Übung 1.mp4", "resolutionW": 1920, "demuxerSuccessed": true,
                       "duration": 5000000000, "isUsedFlag": true})"));
    EXPECT_EQ(Of(list[1].toObject(), keys),
              Json(R"({"resourceId": "#4", "path": "", "resolutionW": -1, "demuxerSuccessed": true, "duration": 0,
                       "isUsedFlag": false})"));
    const QJsonObject item =
        BodyOf(Ask(Command::ResourceItem, {{"resourceId", Id(6).toString()}}, Source::Every).at(0));
    EXPECT_EQ(Of(item["resourceData"].toObject(), keys),
              Json(R"({"resourceId": "#6", "path": "", "resolutionW": -1, "demuxerSuccessed": false, "duration": 0})"));
    EXPECT_THAT(Ask(Command::ResourceItem, {{"resourceId", IdText(6)}},
                    Source::FP | Source::CentralControl | Source::CloudControl),
                IsEmpty());
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
    const auto settingsOf = [this](int id) {
        return Of(BodyOf(Ask(Command::TextResource, {{"resourceId", IdText(id)}}).at(0)),
                  {"horAlignMent", "showType", "colorTextEffect", "hasBackGroundColor", "underLine", "bold", "italic",
                   "scrollMode", "headConnectTail", "scrollInterval", "scrollSpeed"});
    };

    const std::string settings = R"({"horAlignMent": 4, "showType": 7, "colorTextEffect": 8,
        "hasBackGroundColor": false, "underLine": true, )";

    EXPECT_EQ(settingsOf(7), Json(settings + R"("bold": true, "italic": true})"));
    EXPECT_EQ(settingsOf(8),
              Json(settings + R"("bold": false, "italic": false, "scrollMode": 2, "headConnectTail": true,
                                          "scrollInterval": 11, "scrollSpeed": 0.10000000149011612})"));
}

TEST_F(ResourceSenderTest, CapabilitiesAreSentToTheAppForRequestsOfAnySource)
{
    EXPECT_THAT(Ask(Command::SupportedFileTypes, kRemote, Source::FP | Source::CentralControl),
                ElementsAre(SentCode(Command::ReplyTo(Command::SupportedFileTypes))));
    EXPECT_THAT(Ask(Command::SharedTypeThumbnails, kRemote, Source::FP | Source::CentralControl),
                AllOf(Not(IsEmpty()), Each(SentCode(Command::ReplyTo(Command::SharedTypeThumbnails)))));
    const QJsonObject fonts = {{"fontFamilies", QJsonArray::fromStringList(QFontDatabase().families())}};
    EXPECT_THAT(Ask(Command::FontList, kRemote, Source::FP | Source::CentralControl),
                Answers(To::App, Command::FontList, fonts));
    EXPECT_THAT(Ask(Command::ResourceUsed, kRemote, Source::FP | Source::CentralControl),
                Answers(To::App, Command::ResourceUsed, kRemote));
}
