#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "Senders/ListCase.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <memory>
#include <utility>

namespace {

constexpr std::array kMediaFlags = {"isMuted",
                                    "isHided",
                                    "isLocked",
                                    "isHorFlip",
                                    "isVerFlip",
                                    "isFixed",
                                    "showResolution",
                                    "needPushStream",
                                    "flipSupport",
                                    "multiPageResource",
                                    "isPicResource",
                                    "isVideoResource",
                                    "isGroupResource",
                                    "isTextResource",
                                    "streamWithAlpha",
                                    "volumeSupport",
                                    "isSupportFillMode",
                                    "isSupportScroll",
                                    "isSupportModifyScrollDirection"};

/// The data of a medium in the list.
struct SListedMedium {
    QUuid id;
    QUuid resourceId;
    QString name;
    QString streamUrl;
    int resourceType, playMode, state, fillType, blendType;
    qint64 currentTime, totalTime, startTime;
    double rotation;
    int width, height;
    qint64 x, y, xBefore, yBefore;
    std::array<bool, kMediaFlags.size()> flags;
    bool isScrolling;
    bool isLoop;
    int scrollMode, scrollInterval;
    double scrollSpeed;
};

SShow MakeShow(int count)
{
    SProject project;
    SScene scene;
    SSceneGroup group;
    group.id = IdOf(1, 0);
    for (int i = 0; i < count; ++i) {
        SResourceProperties properties;
        properties.id = IdOf(3, i);
        properties.type = i % (ResourceType::Last + 1);
        SResource resource;
        resource.base = CResourceBase(std::make_shared<const SResourceProperties>(properties));
        resource.fileFound = true;
        project.Add(std::move(resource));

        SMediaProperties medium;
        medium.id = IdOf(2, i);
        medium.name = QStringLiteral("Medium %1").arg(i);
        medium.resourceId = properties.id;
        medium.resourceType = properties.type;
        medium.layout.rotation = static_cast<float>(i % 4 * 15);
        medium.layout.size = {640, 360};
        medium.layout.position = {i % 100 * 16.0, i % 50 * 12.0};
        medium.layout.hidden = i % 5 == 0;
        medium.layout.corners = CornersOf(medium.layout);
        medium.timing.totalTime = 60'000 + i;
        scene.media.emplace_back(std::make_shared<const SMediaProperties>(medium));
    }
    group.Add(scene);
    project.Add(group);
    SShow show = ShowOf(std::move(project));
    show.playback.group = group.id;
    return show;
}

SListedMedium ReadMedium(const QJsonObject& item)
{
    SListedMedium medium = {};
    medium.id = QUuid(item["mediaId"].toString());
    medium.resourceId = QUuid(item["resourceId"].toString());
    medium.name = item["mediaName"].toString();
    medium.streamUrl = item["pushStreamUrl"].toString();
    medium.resourceType = item["resourceType"].toInt();
    medium.playMode = item["playMode"].toInt();
    medium.state = item["mediaState"].toInt();
    medium.fillType = item["fillType"].toInt();
    medium.blendType = item["blendType"].toInt();
    medium.currentTime = item["currentTime"].toInt();
    medium.totalTime = item["totalTime"].toInt();
    medium.startTime = item["startPlayTime"].toInt();
    medium.rotation = item["rotation"].toDouble();
    medium.width = item["sizeW"].toInt();
    medium.height = item["sizeH"].toInt();
    medium.x = item["posX"].toInt();
    medium.y = item["posY"].toInt();
    medium.xBefore = item["srcPosX"].toInt();
    medium.yBefore = item["srcPosY"].toInt();
    for (std::size_t i = 0; i < kMediaFlags.size(); ++i)
        medium.flags[i] = item[QLatin1String(kMediaFlags[i])].toBool();
    medium.isScrolling = item.contains("scrollMode");
    medium.isLoop = item["headConnectTail"].toBool();
    medium.scrollMode = item["scrollMode"].toInt();
    medium.scrollInterval = item["scrollInterval"].toInt();
    medium.scrollSpeed = item["scrollSpeed"].toDouble();
    return medium;
}

/// The flags and the rotated corners are calculated by the module; this is not part of writing the list.
std::vector<SListedMedium> ReadList(int count, const QByteArray& sent)
{
    const QJsonObject items = QJsonDocument::fromJson(sent).object()["mediaList"].toObject();
    std::vector<SListedMedium> list;
    list.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        list.push_back(ReadMedium(items[QString::number(i)].toObject()));
    return list;
}

QJsonObject MediumByHand(const SListedMedium& medium)
{
    QJsonObject item;
    item.insert(QLatin1String("currentTime"), medium.currentTime);
    item.insert(QLatin1String("mediaId"), medium.id.toString(QUuid::WithoutBraces));
    item.insert(QLatin1String("mediaName"), medium.name);
    item.insert(QLatin1String("resourceId"), medium.resourceId.toString(QUuid::WithoutBraces));
    item.insert(QLatin1String("resourceType"), medium.resourceType);
    item.insert(QLatin1String("totalTime"), medium.totalTime);
    item.insert(QLatin1String("startPlayTime"), medium.startTime);
    item.insert(QLatin1String("playMode"), medium.playMode);
    item.insert(QLatin1String("mediaState"), medium.state);
    item.insert(QLatin1String("pushStreamUrl"), medium.streamUrl);
    item.insert(QLatin1String("playState"), QLatin1String());
    item.insert(QLatin1String("rotation"), medium.rotation);
    item.insert(QLatin1String("sizeW"), medium.width);
    item.insert(QLatin1String("sizeH"), medium.height);
    item.insert(QLatin1String("posX"), medium.x);
    item.insert(QLatin1String("posY"), medium.y);
    item.insert(QLatin1String("srcPosX"), medium.xBefore);
    item.insert(QLatin1String("srcPosY"), medium.yBefore);
    item.insert(QLatin1String("fillType"), medium.fillType);
    item.insert(QLatin1String("blendType"), medium.blendType);
    for (std::size_t i = 0; i < kMediaFlags.size(); ++i)
        item.insert(QLatin1String(kMediaFlags[i]), medium.flags[i]);
    if (medium.isScrolling) {
        item.insert(QLatin1String("scrollMode"), medium.scrollMode);
        item.insert(QLatin1String("headConnectTail"), medium.isLoop);
        item.insert(QLatin1String("scrollInterval"), medium.scrollInterval);
        item.insert(QLatin1String("scrollSpeed"), medium.scrollSpeed);
    }
    return item;
}

QByteArray ListByHand(const std::vector<SListedMedium>& media)
{
    const int count = static_cast<int>(media.size());
    QJsonObject list;
    list.insert(QLatin1String("result"), 1);
    list.insert(QLatin1String("count"), count);
    for (const int number : InTextOrder(count))
        list.insert(QString::number(number), MediumByHand(media[static_cast<std::size_t>(number)]));
    QJsonObject reply;
    reply.insert(QLatin1String("mediaList"), list);
    return QJsonDocument(reply).toJson();
}

SCase CaseOf(int count)
{
    const auto read = [count](const QByteArray& sent) { return ReadList(count, sent); };
    constexpr double kAim = 0.4;
    return ListCase<SListedMedium>("media-list", Command::MediaList, count, kAim, MakeShow(count), read, ListByHand);
}

} // namespace

std::vector<SCase> Cases::MediaList()
{
    return {CaseOf(250), CaseOf(500), CaseOf(1'000)};
}
