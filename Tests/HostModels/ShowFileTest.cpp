#include "HostModels/Show/ShowFile.h"

#include "ExternalController/Common/ResourceType.h"
#include "HostModels/FileTest.h"
#include "HostModels/Pictures/ResourceCard.h"
#include "HostModels/Show/ShowJson.h"

#include <QDir>

#include <cstring>
#include <set>
#include <tuple>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using ShowFileTest = CFileTest;

const QString kSource = QStringLiteral(SOURCE_FOLDER);

const QByteArray kShow = R"({
    "name": "Evening",
    "openProject": "00000000-0000-4000-8000-000000000001",
    "projects": [{
        "id": "00000000-0000-4000-8000-000000000001", "name": "Gala",
        "mainGroup": "00000000-0000-4000-8000-000000000021",
        "resources": [
            {"id": "00000000-0000-4000-8000-000000000011", "type": 0, "name": "Film", "width": 1920, "duration": 9000},
            {"id": "00000000-0000-4000-8000-000000000012", "type": 10, "name": "Title", "text": {"alignment": 1, "underline": true}}
        ],
        "groups": [{"id": "00000000-0000-4000-8000-000000000021", "name": "Act", "scenes": [
            {"id": "00000000-0000-4000-8000-000000000031", "name": "Doors", "fadeIn": 5, "media": [
                {"id": "00000000-0000-4000-8000-000000000041", "resource": "00000000-0000-4000-8000-000000000011",
                 "rotation": 90, "height": 100}
            ], "startCommands": [{"device": "00000000-0000-4000-8000-000000000051",
                                  "command": "00000000-0000-4000-8000-000000000052"}]},
            {"id": "00000000-0000-4000-8000-000000000032", "name": "End"}
        ]}]
    }],
    "screens": [{"id": "00000000-0000-4000-8000-000000000061", "name": "Wall"}],
    "effect": {"mute": true, "blue": 0.25, "red": 0.5, "green": 0.75, "hue": 1},
    "playback": {"scene": "00000000-0000-4000-8000-000000000031", "state": "playing"}
})";

struct SMistake {
    const char* right;
    const char* wrong;
    const char* complaint;
};

constexpr SMistake kMistakes[] = {
    // numbers
    {"\"type\": 0", "\"type\": 28", "projects[0].resources[0].type: must be a number from 0 to 27"},
    {"1920", "0.5", "projects[0].resources[0].width: must be a whole number"},
    {"9000", "1e18", "projects[0].resources[0].duration: must be a number from 0 to 8640000000"},
    {"\"rotation\": 90", "\"rotation\": 361",
     "projects[0].groups[0].scenes[0].media[0].rotation: must be a number from -360 to 360"},
    // texts
    {"\"playing\"", "\"running\"", "playback.state: must be one of \"playing\", \"paused\", \"stopped\""},
    {"\"alignment\": 1", "\"color\": \"reddish\"",
     "projects[0].resources[1].text.color: must be a colour such as \"#1b2a41\""},
    // ids
    {"000000000011", "00000000001", "projects[0].resources[0].id: must be an id such as"},
    {"000000000011", "000000000011a", "projects[0].resources[0].id: must be an id such as"},
    {"000000000012", "000000000011", "projects[0].resources[1].id: another object has this id"},
    {"\"resource\": \"00000000-0000-4000-8000-000000000011\"", "\"resource\": \"00000000-0000-4000-8000-000000000099\"",
     "projects[0].groups[0].scenes[0].media[0].resource: no resource of this project has the id "
     "00000000-0000-4000-8000-000000000099"},
    {"\"mainGroup\": \"00000000-0000-4000-8000-000000000021\"",
     "\"mainGroup\": \"00000000-0000-4000-8000-000000000022\"", "projects[0].mainGroup: no scene group has this id"},
    {"\"openProject\": \"00000000-0000-4000-8000-000000000001\"",
     "\"openProject\": \"00000000-0000-4000-8000-000000000002\"", "openProject: no project has this id"},
    {"{\"scene\": \"00000000-0000-4000-8000-000000000031\"", "{\"scene\": \"00000000-0000-4000-8000-000000000033\"",
     "playback.scene: no scene of the open project has this id"},
    {"\"device\": \"00000000-0000-4000-8000-000000000051\",", "",
     "projects[0].groups[0].scenes[0].startCommands[0].device: is missing or empty"},
    // keys
    {"\"rotation\"", "\"rotaton\"", "projects[0].groups[0].scenes[0].media[0].rotaton: unknown key"},
    {"\"type\": 10", "\"type\": 2", "projects[0].resources[1].text: only a text (type 10) has it"},
};

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

/// Expects that the value has all keys and values of the file's value; it may have others in addition.
void ExpectContains(const QJsonValue& value, const QJsonValue& inFile, const std::string& place)
{
    if (inFile.isObject()) {
        const QJsonObject object = inFile.toObject();
        for (const QString& key : object.keys())
            ExpectContains(value.toObject()[key], object[key], place + '.' + key.toStdString());
    } else if (inFile.isArray()) {
        const QJsonArray array = inFile.toArray();
        ASSERT_EQ(value.toArray().size(), array.size()) << place;
        for (int i = 0; i < array.size(); ++i)
            ExpectContains(value.toArray()[i], array[i], place + '[' + std::to_string(i) + ']');
    } else if (inFile.isString()) {
        // The path of a file is absolute.
        EXPECT_THAT(value.toString().toStdString(), EndsWith(inFile.toString().toStdString())) << place;
    } else if (inFile.isDouble()) {
        EXPECT_FLOAT_EQ(static_cast<float>(value.toDouble(-1)), static_cast<float>(inFile.toDouble())) << place;
    } else {
        EXPECT_EQ(value, inFile) << place;
    }
}

} // namespace

TEST_F(ShowFileTest, EveryValueOfTheDemoShowIsRead)
{
    const QString path = kSource + "/Examples/DemoShow/DemoShow.zxc";
    const QJsonObject file = ReadJsonObject(path);
    const auto [show, settings, devices] = ReadShowFile(path);

    EXPECT_EQ(show.file, path);
    EXPECT_EQ(show.name, file["name"].toString());
    for (std::size_t i = 0; i < show.projects.size(); ++i) {
        const QJsonObject inFile = file["projects"].toArray().at(static_cast<int>(i)).toObject();
        const SProject& project = *show.projects[i];
        const QJsonObject hdr = inFile["hdr"].toObject();
        EXPECT_EQ(project.id, QUuid(inFile["id"].toString()));
        EXPECT_EQ(project.name, inFile["name"].toString());
        EXPECT_EQ(project.appControlMode, inFile["appControlMode"].toInt());
        EXPECT_EQ(project.stageZoomRatio, inFile["stageZoomRatio"].toString("100%"));
        EXPECT_EQ(project.hdr, hdr["on"].toBool());
        EXPECT_EQ(project.hdrKind, hdr["kind"] == "software");
        EXPECT_EQ(project.mainGroup,
                  inFile["mainGroup"].isUndefined() ? project.groups.at(0)->id : QUuid(inFile["mainGroup"].toString()));
        ExpectContains(ListOf("list", project.resources)["list"], inFile["resources"], "resources");
        ExpectContains(ListOf("list", project.groups)["list"], inFile["groups"], "groups");
    }
    ASSERT_TRUE(show.Project());
    EXPECT_EQ(show.Project()->id, QUuid(file["openProject"].toString()));
    ExpectContains(ListOf("list", show.screens)["list"], file["screens"], "screens");
    const SEffect& effect = show.effect;
    ExpectContains(QJsonObject{{"volume", double{effect.volume}},
                               {"contrast", double{effect.contrast}},
                               {"luminance", double{effect.luminance}},
                               {"saturation", double{effect.saturation}}},
                   file["effect"], "effect");
    const SPlayback& playback = show.playback;
    ExpectContains(QJsonObject{{"leftVolume", double{playback.leftVolume}},
                               {"rightVolume", double{playback.rightVolume}},
                               {"position", static_cast<int>(playback.playedBefore.count())},
                               {"scene", playback.scene.toString(QUuid::WithoutBraces)},
                               {"state", playback.state == SPlayback::Playing ? "playing" : "?"}},
                   file["playback"], "playback");
    EXPECT_EQ(playback.globalState, playback.state);
    EXPECT_TRUE(show.CurrentScene());
    EXPECT_EQ(settings.appId, file["settings"].toObject()["appId"].toString());
    EXPECT_EQ(devices, QDir(kSource).absoluteFilePath("Examples/DemoShow/Devices.json"));
}

TEST_F(ShowFileTest, AnErrorIsReportedWithPositionAndReason)
{
    ASSERT_EQ(Complaint(ReadShowFile, kShow), "none");
    for (const SMistake& mistake : kMistakes) {
        QByteArray show = kShow;
        const int at = show.indexOf(mistake.right);
        ASSERT_GE(at, 0) << mistake.right;
        show.replace(at, static_cast<int>(std::strlen(mistake.right)), mistake.wrong);

        EXPECT_THAT(Complaint(ReadShowFile, show), StartsWith(mistake.complaint));
    }
}

TEST_F(ShowFileTest, OmittedKeysAreTakenFromTheResourceAndTheEffectIsRead)
{
    const SShow show = ReadShowFile(Write(kShow)).show;

    ASSERT_NE(show.CurrentScene(), nullptr);
    const CMediaNode& medium = show.CurrentScene()->media.at(0);
    EXPECT_EQ(medium.GetName(), "Film");
    EXPECT_EQ(medium.GetLayoutProperty()->size, QSize(1920, 100));
    EXPECT_EQ(medium.GetTimingProperty()->totalTime, 9000);
    EXPECT_EQ(medium.GetLayoutProperty()->corners[0], QPointF(960 - 50, 50 + 960));
    EXPECT_EQ(ToJson(*show.Project()->resources.at(1))["text"].toObject()["underline"], true);
    const SEffect& effect = show.effect;
    EXPECT_EQ(std::tie(effect.black, effect.mute, effect.blue, effect.red, effect.green, effect.hue),
              std::make_tuple(false, true, 0.25F, 0.5F, 0.75F, 1.0F));
}

TEST_F(ShowFileTest, TheDemoShowHasMediaOfEveryTypeAndTheFilesItNames)
{
    const auto [show, settings, devices] = ReadShowFile(kSource + "/Examples/DemoShow/DemoShow.zxc");

    const SProject& gala = *show.projects.at(0);
    std::set<int> types;
    for (const auto& group : gala.groups) {
        for (const auto& scene : group->scenes) {
            for (const CMediaNode& medium : scene->media) {
                types.insert(medium.GetResourceType());
                const SResource* resource = gala.ResourceById(medium.GetResourceId());
                EXPECT_TRUE(resource->fileFound || resource->base.GetType() != ResourceType::Presentation);
            }
        }
    }
    EXPECT_EQ(types.size(), ResourceType::Last + 1u);
    EXPECT_FALSE(QDir(settings.sharedFolder).entryList(QDir::Files).isEmpty()) << settings.sharedFolder.toStdString();
}

TEST_F(ShowFileTest, TheDocumentsExampleLoadsAndItsTypesAreThoseOfTheCards)
{
    const QByteArray document = ReadAll(kSource + "/Docs/ShowFile.md");
    const QByteArray fence = "```json\n";
    const int begin = document.indexOf(fence) + fence.size();
    const QByteArray example = document.mid(begin, document.indexOf("```", begin) - begin);

    EXPECT_EQ(Complaint(ReadShowFile, example), "none");
    for (int type = 0; type <= ResourceType::Last; ++type)
        EXPECT_THAT(document.toStdString(),
                    HasSubstr("| " + std::to_string(type) + " | " + KindName(type).toStdString() + " |"));
}
