#include "Support/SenderTest.h"

#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "ExternalController/MsgSender/ResourceMsgSender.h"
#include "ExternalController/MsgSender/StageMsgSender.h"
#include "Interfaces/RenderController.h"

#include <QImage>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kTypes = ResourceType::Last + 1;

/// Returns the indices of the objects in which the flag is true; "none" if no object has the flag.
std::string Having(const char* flag, const std::vector<QJsonObject>& objects)
{
    std::string indices;
    bool isThere = false;
    for (std::size_t index = 0; index < objects.size(); ++index) {
        const QJsonValue value = objects[index][QLatin1String(flag)];
        isThere = isThere || value.isBool();
        if (value.toBool())
            indices += (indices.empty() ? "" : " ") + std::to_string(index);
    }
    return isThere ? indices : "none";
}

} // namespace

class StageMediaTest : public SenderTestOf<CStageMsgSender> {
protected:
    /// Returns the description of the only medium of a stage.
    QJsonObject Described(const SResource& resource, const std::function<void(SMediaProperties&)>& change = {})
    {
        LoadStage({resource}, {MakeMedium(31, resource, change)});
        return BodyOf(Ask(Command::MediaData, {{"mediaId", IdText(31)}}).at(0))["mediaData"].toObject();
    }
};

TEST_F(StageMediaTest, AMediumIsSentWithAllItsProperties)
{
    SSettings settings;
    settings.stageStreamUrl = "rtsp://127.0.0.1/stage";
    HostModels::SoftwareSetting().Load(settings, {});
    const SResource video = MakeResource(5, ResourceType::Video);
    const auto fill = [](SMediaProperties& medium) {
        medium.resourceType = 99;
        medium.layout = {0, QSize(200, 100), QPointF(-10.6, 10.4), true, false, true, false, true, 2, 3, {}};
        medium.play = {250, false, 7, {}};
        medium.timing = {9007199254740993, 4};
    };
    LoadStage({video}, {MakeMedium(31, video, fill)});
    const std::string object = R"({"currentTime": 1750, "mediaId": "#31", "mediaName": "Medium 31",
        "resourceId": "#5", "resourceType": 99, "rotation": 0, "sizeW": 200, "sizeH": 100, "posX": -11, "posY": 10,
        "srcPosX": -11, "srcPosY": 10, "totalTime": 9007199254740993, "startPlayTime": 250, "playMode": 4,
        "mediaState": 1, "isMuted": false, "isHided": true, "isLocked": false, "isHorFlip": true, "isVerFlip": false,
        "isFixed": true, "fillType": 2, "blendType": 3, "showResolution": true, "needPushStream": true,
        "multiPageResource": false, "volumeSupport": true, "flipSupport": true, "isVideoResource": true,
        "isPicResource": false, "isGroupResource": false, "isTextResource": false, "streamWithAlpha": false,
        "isSupportScroll": false, "isSupportFillMode": true, "isSupportModifyScrollDirection": false,
        "pushStreamUrl": "rtsp://127.0.0.1/stage/#31", "playState": ""})";

    Expect({{Command::MediaList, "", Source::FP | Source::CentralControl, To::App,
             R"({"mediaList": {"result": 1, "count": 1, "0": )" + object + "}}"},
            {Command::MediaData, R"("mediaId": "{#31}")", Source::App | Source::FP | Source::CentralControl, To::App,
             R"({"remoteIp": "10.0.0.9", "remotePort": 4000, "mediaData": )" + object + "}"},
            {Command::MediaData, R"("mediaId": "#31")", Source::FP | Source::CentralControl | Source::CloudControl,
             To::None, ""}});
}

TEST_F(StageMediaTest, EachPropertyHasItsOwnKey)
{
    bool SLayoutProperty::*const flags[] = {&SLayoutProperty::hidden, &SLayoutProperty::locked,
                                            &SLayoutProperty::horFlip, &SLayoutProperty::verFlip,
                                            &SLayoutProperty::fixed};
    const QStringList keys = {"isHided", "isLocked", "isHorFlip", "isVerFlip", "isFixed", "isMuted"};

    for (int set = 0; set < keys.size(); ++set) {
        const QJsonObject medium = Described(MakeResource(5, 2), [&](SMediaProperties& properties) {
            for (int flag = 0; flag < 5; ++flag)
                properties.layout.*flags[flag] = flag == set;
            properties.play.muted = set == 5;
        });
        for (const QString& key : keys)
            EXPECT_EQ(medium[key], key == keys[set]) << key.toStdString();
    }
}

TEST_F(StageMediaTest, AMediumThatDoesNotPlayHasNoStateAndNoPosition)
{
    const SResource video = MakeResource(5, 0);
    SScene scene = MakeScene(3, {MakeMedium(31, video)});
    SProject project = MakeProject(1, {MakeGroup(2, {scene})}, {video});
    // The medium exists, but is not found.
    SSceneGroup group = *project.groups[0];
    scene = *group.scenes[0];
    scene.mediaIndex.clear();
    group.scenes[0] = std::make_shared<const SScene>(scene);
    project.groups[0] = std::make_shared<const SSceneGroup>(group);
    LoadShow({project});

    const QJsonObject list = BodyOf(Ask(Command::MediaList).at(0))["mediaList"].toObject();

    EXPECT_EQ(Of(list["0"].toObject(), {"currentTime", "mediaState", "pushStreamUrl"}),
              Json(R"({"currentTime": 0, "mediaState": -1, "pushStreamUrl": ""})"));
}

TEST_F(StageMediaTest, TheSourcePositionOfARotatedMediumIsItsCornerBeforeTheRotation)
{
    const struct {
        float rotation;
        QPointF position, centre;
        std::string expected;
    } cases[] = {
        // The corner is 100 left of and 50 above the centre.
        {90, {100, 50}, {200, 100}, R"("posX": 150, "posY": 200, "srcPosX": 100, "srcPosY": 50)"},
        // 200 - 100 cos 30 - 50 sin 30, 100 + 100 sin 30 - 50 cos 30
        {30, {100, 50}, {200, 100}, R"("posX": 88, "posY": 107, "srcPosX": 100, "srcPosY": 50)"},
        // The centre is calculated from the corners.
        {90, {10, -30.4}, {20, 10}, R"("posX": -20, "posY": 20, "srcPosX": 10, "srcPosY": -30)"},
        {0, {10, -30.4}, {20, 10}, R"("posX": 10, "posY": -30, "srcPosX": 10, "srcPosY": -30)"},
    };

    for (const auto& [rotation, position, centre, expected] : cases) {
        SLayoutProperty layout;
        layout.rotation = rotation;
        layout.position = position;
        const QPointF diagonal(9, 4);
        layout.corners = {centre - diagonal, QPointF(), centre + diagonal, QPointF()};
        const QJsonObject medium =
            Described(MakeResource(5, ResourceType::Picture), [&](SMediaProperties& made) { made.layout = layout; });
        EXPECT_EQ(Of(medium, {"posX", "posY", "srcPosX", "srcPosY"}), Json('{' + expected + '}')) << rotation;
        EXPECT_EQ(medium["rotation"], double{rotation});
    }
}

TEST_F(StageMediaTest, TextsAndDocumentsScrollAndMediaWithPagesHaveTheirOwnState)
{
    const QJsonObject plain = {{"mediaState", 1}};
    const QJsonObject presentation = {{"mediaState", 7}};
    const QJsonObject text = Json(R"({"mediaState": 1, "scrollMode": 2, "headConnectTail": true,
                                      "scrollInterval": 11, "scrollSpeed": 0.10000000149011612})");
    const QJsonObject document = Json(R"({"mediaState": 7, "scrollMode": 3, "headConnectTail": false,
                                          "scrollInterval": 22, "scrollSpeed": 1.5})");

    for (int type = -1; type <= kTypes; ++type) {
        const QJsonObject described = Described(MakeResource(5, type), [](SMediaProperties& medium) {
            medium.play.currentState = 7;
            medium.play.scroll = {2, 0.1F, true, 11};
            medium.pageScroll = {3, 1.5F, false, 22};
        });
        const bool hasPages = type == 15 || type == 19 || type == 20 || type == 23 || type == 24;
        EXPECT_EQ(Of(described, {"mediaState", "scrollMode", "headConnectTail", "scrollInterval", "scrollSpeed"}),
                  type == 8                  ? presentation
                  : type == 10 || type == 27 ? text
                  : hasPages                 ? document
                                             : plain)
            << type;
    }
}

TEST_F(StageMediaTest, TheSupportedOperationsDependOnTheTypeOnly)
{
    std::vector<QJsonObject> media;
    std::vector<QJsonObject> items;
    // After the types: groups of another kind than 0, with the indices 28 and 29, and two unknown types.
    for (int number = 0; number < kTypes + 4; ++number) {
        SResource resource = MakeResource(5, number < kTypes ? number : number == 30 ? -1 : number == 31 ? kTypes : 4);
        resource.groupType = number == 28 ? 1 : number == 29 ? -1 : 0;
        media.push_back(Described(resource));
        const auto item =
            SenderTest::Ask<CResourceMsgSender>(Command::ResourceItem, {{"resourceId", IdText(5)}}, Source::App);
        items.push_back(BodyOf(item.at(0))["resourceData"].toObject());
    }
    const char* const same = nullptr;
    const struct {
        const char *flag, *media, *items;
    } cases[] = {
        {"showResolution", "0 2", same},
        {"needPushStream", "0 2 4 5 6 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 30 31", same},
        {"multiPageResource", "8 15 19 20 23 24 26", same},
        {"volumeSupport", "0 1 4 7 9 11", same},
        {"flipSupport", "0 2 3 4 5 6 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 30 31", same},
        {"isVideoResource", "0", same},
        {"isPicResource", "2", same},
        {"isGroupResource", "4 28 29", same},
        {"isTextResource", "10", same},
        {"streamWithAlpha", "2 10 12 13 14 15 17 18 19 20 21 22 23 24 25 26 27", same},
        {"isSupportScroll", "10 13 15 19 20 23 24 27", same},
        {"isSupportFillMode", "0 1 2 3 4 5 6 7 8 9 11 15 16 19 20 22 23 24 25 26 28 29 30 31", same},
        {"isHasRealThumbnail", "none", "0 2 4 8 27 28 29"},
        {"isSupportModifyScrollDirection", "10 27", "none"},
    };

    for (const auto& [flag, ofMedia, ofItems] : cases) {
        EXPECT_EQ(Having(flag, media), ofMedia) << flag;
        EXPECT_EQ(Having(flag, items), ofItems ? ofItems : ofMedia) << flag;
    }
}

TEST_F(StageMediaTest, TheListIsSentCompletelyOrNotAtAll)
{
    const SResource video = MakeResource(5, ResourceType::Video);
    const SResource gone = MakeResource(6, ResourceType::Video);
    SResource unplayed = MakeResource(7, ResourceType::Presentation);
    unplayed.fileFound = false;
    const SResource group = MakeResource(8, ResourceType::Group);
    const SResource withoutRecord = MakeResource(9, ResourceType::Group);

    for (const SResource& second : {video, gone, unplayed, withoutRecord}) {
        const SScene scene = MakeScene(3, {MakeMedium(30, video), MakeMedium(31, second), MakeMedium(32, video)});
        SProject project = MakeProject(1, {MakeGroup(2, {scene})}, {video, unplayed, group});
        // The group exists, but the index has it under another id.
        project.resourceIndex.remove(Id(8));
        project.resourceIndex.insert(Id(9), 2);
        LoadShow({project});
        if (second.base.GetId() == Id(5)) {
            const QJsonObject list = BodyOf(Ask(Command::MediaList).at(0))["mediaList"].toObject();
            EXPECT_EQ(list.size(), 5);
            EXPECT_EQ(list["1"].toObject()["mediaId"], IdText(31));
        } else {
            Expect({{Command::MediaList, "", Source::App, To::None, ""}});
            EXPECT_THAT(Ask(Command::MediaData, {{"mediaId", IdText(31)}}),
                        Answers(To::App, Command::MediaData, {{"mediaData", QJsonObject{}}}));
        }
    }
}

TEST_F(StageMediaTest, ARequestForAnUnknownMediumIsSentBack)
{
    LoadStage({}, {MakeMedium(31, MakeResource(5, ResourceType::Video))});

    for (const char* body : {"{}", R"({"mediaId": "#32", "tag": 1})", R"({"mediaId": "#0"})", R"({"mediaId": "x#31"})",
                             R"({"mediaId": 31})"}) {
        EXPECT_THAT(Ask(Command::MediaData, Json(body)), Answers(To::App, Command::MediaData, Json(body)));
        EXPECT_THAT(Ask(Command::MediaThumbnail, Json(body)), testing::IsEmpty());
    }
}

TEST_F(StageMediaTest, AMediumsThumbnailHasTheSizeOfTheAppsListAndAnAlphaChannel)
{
    const SResource video = MakeResource(5, ResourceType::Video);
    LoadStage({video}, {MakeMedium(31, video)});

    const QImage image = QImage::fromData(
        PictureIn(Ask(0x118, {{"mediaId", IdText(31)}}, Source::FP | Source::CentralControl), 0x10000118, Id(31)),
        "PNG");

    EXPECT_TRUE(image.hasAlphaChannel());
    EXPECT_EQ(Difference(image, GetRenderController()->GetImageWithAlpha(Id(31)).scaled(320, 180)), 0);
}
