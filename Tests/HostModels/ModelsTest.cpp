#include "HostModels/HostModels.h"
#include "HostModels/Models/HostPerformanceModel.h"
#include "HostModels/Models/HostProject.h"
#include "HostModels/Show/ShowEdit.h"
#include "HostModels/Show/ShowJson.h"
#include "Support/ShowBuilder.h"

#include "ExternalController/Common/ResourceType.h"
#include "Interfaces/PPtPlayerMgr.h"
#include "Interfaces/PlayController.h"
#include "Interfaces/RenderController.h"

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

/// Plays the current scene since an hour.
void PlaySinceAnHour()
{
    HostModels::Show().Change(
        [](SShow& show) { show.playback.Enter(SPlayback::Playing, SPlayback::Clock::now() - std::chrono::hours(1)); });
}

/// Returns "state time" of a medium, with the time in milliseconds.
std::string PlayDataOf(int medium)
{
    SMediaPlayData data;
    if (!GetPlayController()->GetMediaPlayData(Id(medium), data))
        return "none";
    return std::to_string(data.mediaState) + ' ' + std::to_string(data.currentTime);
}

} // namespace

TEST(ModelsTest, AMediumsPositionCountsFromItsStartAndDoesNotExceedItsEnd)
{
    const SResource film = MakeResource(5, ResourceType::Video);
    const auto medium = [&](int id, std::int64_t start, std::int64_t total) {
        return MakeMedium(id, film, [=](SMediaProperties& properties) {
            properties.play.startPlayTime = start;
            properties.timing.totalTime = total;
        });
    };
    LoadStage({film}, {medium(6, 2000, 10'000), medium(7, 0, 1000), medium(8, 3000, 0)});
    EXPECT_EQ(PlayDataOf(6), "1 3500");
    EXPECT_EQ(PlayDataOf(7), "1 1000");
    EXPECT_EQ(PlayDataOf(8), "1 3000");
    EXPECT_EQ(PlayDataOf(9), "none");

    PlaySinceAnHour();
    EXPECT_EQ(PlayDataOf(6), "0 10000");
}

TEST(ModelsTest, AResourceHasTheNumberOfItsMediaInTheCurrentScene)
{
    const SResource film = MakeResource(5, ResourceType::Video);
    const SResource text = MakeResource(6, ResourceType::Text);
    const SResource group = MakeResource(7, ResourceType::Group);
    LoadShow(
        {MakeProject(1,
                     {MakeGroup(2, {MakeScene(3, {MakeMedium(11, film), MakeMedium(12, text), MakeMedium(13, film)}),
                                    MakeScene(4, {MakeMedium(14, group)})})},
                     {film, text, group})});
    CResourceModel& model = *CResourceModel::GetInstance();
    const auto countsOf = [&](int type) {
        std::vector<std::int64_t> counts;
        for (const CResourceBase& resource : model.GetAllResNode(false, type))
            counts.push_back(resource.GetResourceUseCount());
        return counts;
    };
    EXPECT_THAT(countsOf(kEveryResourceType), ElementsAre(2, 1, 0));
    EXPECT_THAT(countsOf(ResourceType::Video), ElementsAre(2));

    CResourceBase base;
    CGroupResource groupNode;
    CTextResource textNode;
    EXPECT_TRUE(model.GetResourceBaseNode(Id(5), base));
    EXPECT_EQ(base.GetResourceUseCount(), 2);
    EXPECT_TRUE(model.GetTextResourceNode(Id(6), base, textNode));
    EXPECT_EQ(base.GetId(), Id(6));
    EXPECT_EQ(base.GetResourceUseCount(), 1);
    EXPECT_TRUE(model.GetGroupResourceNode(Id(7), base, groupNode));
    EXPECT_EQ(base.GetId(), Id(7));
    for (const int wrong : {5, 99}) {
        EXPECT_FALSE(model.GetTextResourceNode(Id(wrong), base, textNode));
        EXPECT_FALSE(model.GetGroupResourceNode(Id(wrong), base, groupNode));
    }
    EXPECT_FALSE(model.GetResourceBaseNode(Id(99), base));
}

TEST(ModelsTest, APresentationHasAPlayerAndAStreamOnlyOnTheStage)
{
    const SResource found = MakeResource(5, ResourceType::Presentation);
    SResource lost = MakeResource(6, ResourceType::Presentation);
    lost.fileFound = false;
    LoadStage({found, lost}, {MakeMedium(11, found), MakeMedium(12, lost)});

    EXPECT_TRUE(GetPPtPlayerMgr()->GetPPtPlayer(Id(11)));
    EXPECT_FALSE(GetPPtPlayerMgr()->GetPPtPlayer(Id(12)));
    EXPECT_FALSE(GetPPtPlayerMgr()->GetPPtPlayer(Id(13)));

    SSettings settings;
    settings.stageStreamUrl = "rtmp://stage";
    HostModels::SoftwareSetting().Load(settings, {});
    QString url;
    EXPECT_TRUE(GetRenderController()->GetMediaStreamPushUrl(Id(11), url));
    EXPECT_EQ(url, "rtmp://stage/" + IdText(11));
}

TEST(ModelsTest, TheMemoryIsReportedInBytes)
{
    EXPECT_GT(CHostPerformanceModel().GetSystemInfo().memory.value(0).space, 1 << 28);
}

TEST(ModelsTest, AProjectsPathIsBesideTheShowFile)
{
    LoadShow({MakeProject(1), MakeProject(2)});
    EXPECT_EQ(CHostProject().GetProjectPath(), "");
    HostModels::Show().Change([](SShow& show) { show.file = "/shows/Evening.zxc"; });

    EXPECT_EQ(CHostProject().GetProjectPath(), "/shows/Project 1.zxc");
    const auto projects = CHostProject().GetProjectMgrList();
    ASSERT_EQ(projects.size(), 2U);
    EXPECT_EQ(projects[1].path, "/shows/Project 2.zxc");
}

TEST(ModelsTest, EveryModelExportsItsPartOfTheOpenProject)
{
    const SResource film = MakeResource(5, ResourceType::Video);
    const CMediaNode medium = MakeMedium(11, film);
    const SSceneGroup group = MakeGroup(2, {MakeScene(3, {medium})});
    LoadShow({MakeProject(1, {group}, {film}), MakeProject(4)}, {MakeScreen(8)});
    HostModels::Show().Change([](SShow& show) { show.playback.leftVolume = 0.25F; });

    EXPECT_EQ(CResourceModel::GetInstance()->SaveResourceModel(false, false),
              (QJsonObject{{"resources", QJsonArray{ToJson(film)}}}));
    EXPECT_EQ(CScreenModel::GetInstance()->SaveData(), (QJsonObject{{"screens", QJsonArray{ToJson(MakeScreen(8))}}}));
    EXPECT_EQ(CSceneMgrModel::GetInstance()->SaveSceneMgrModel({}),
              (QJsonObject{{"groups", QJsonArray{ToJson(group)}}, {"mainGroup", IdText(0)}}));
    QJsonObject stage = Json(R"({"scene": "#3", "state": 1, "leftVolume": 0.25, "rightVolume": 1})");
    stage["media"] = QJsonArray{ToJson(medium)};
    EXPECT_EQ(GetPlayController()->SaveStageData(), stage);
}

TEST(ModelsTest, EditingAnObjectPreservesItsOtherProperties)
{
    SMediaProperties properties;
    properties.id = Id(1);
    properties.name = "medium";
    properties.resourceId = Id(2);
    properties.resourceType = ResourceType::Clock;
    properties.layout.rotation = 3;
    properties.play.startPlayTime = 4;
    properties.timing.totalTime = 5;
    properties.pageScroll.interval = 6;
    const CMediaNode medium(std::make_shared<const SMediaProperties>(properties));
    const CMediaNode copy(std::make_shared<const SMediaProperties>(PropertiesOf(medium)));
    EXPECT_EQ(ToJson(copy), ToJson(medium));
    EXPECT_EQ(copy.GetResourceType(), ResourceType::Clock);

    const SResource resource = MakeResource({Id(1), ResourceType::Clock, "resource", "/path", {2, 3}, true, 4, 5});
    const SResource same = MakeResource(PropertiesOf(resource.base));
    EXPECT_EQ(ToJson(same), ToJson(resource));
    EXPECT_EQ(same.base.GetResourceUseCount(), 5);
}
