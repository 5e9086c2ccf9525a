#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "Senders/ListCase.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <memory>
#include <utility>

namespace {

constexpr std::array kResourceFlags = {"showResolution",    "needPushStream",    "multiPageResource", "flipSupport",
                                       "isVideoResource",   "isPicResource",     "isGroupResource",   "isTextResource",
                                       "streamWithAlpha",   "isSupportScroll",   "volumeSupport",     "isUsedFlag",
                                       "isSupportFillMode", "isHasRealThumbnail"};

/// The data of a resource in the list.
struct SListedResource {
    SResourceProperties properties;
    std::array<bool, kResourceFlags.size()> flags;
};

SShow MakeShow(int count)
{
    SProject project;
    for (int i = 0; i < count; ++i) {
        SResourceProperties properties;
        properties.id = IdOf(1, i);
        properties.type = i % (ResourceType::Last + 1);
        properties.name = QStringLiteral("Resource %1").arg(i);
        properties.path = QStringLiteral("/srv/show/media/%1/resource-%2.mp4").arg(i / 100).arg(i);
        properties.resolution = {1920, 1080};
        properties.demuxered = true;
        properties.duration = 60'000 + i;
        properties.useCount = i % 3;
        SResource resource;
        resource.base = CResourceBase(std::make_shared<const SResourceProperties>(properties));
        project.Add(std::move(resource));
    }
    return ShowOf(std::move(project));
}

/// The flags are calculated by the module; this is not part of writing the list.
std::vector<SListedResource> ReadList(const SShow& show, const QByteArray& sent)
{
    const QJsonArray items = QJsonDocument::fromJson(sent).object()["resourceMgrData"].toArray();
    std::vector<SListedResource> list;
    for (const auto& resource : show.Project()->resources) {
        const CResourceBase& base = resource->base;
        SListedResource listed = {{base.GetId(), base.GetType(), base.GetName(), base.GetPath(), base.GetResolution(),
                                   base.GetResDemuxered(), base.GetDuration(), base.GetResourceUseCount()},
                                  {}};
        const QJsonObject item = items[static_cast<int>(list.size())].toObject();
        for (std::size_t i = 0; i < kResourceFlags.size(); ++i)
            listed.flags[i] = item[QLatin1String(kResourceFlags[i])].toBool();
        list.push_back(listed);
    }
    return list;
}

QByteArray ListByHand(const std::vector<SListedResource>& list)
{
    QJsonArray items;
    for (const auto& [resource, flags] : list) {
        QJsonObject item;
        item.insert(QLatin1String("resourceId"), resource.id.toString(QUuid::WithoutBraces));
        item.insert(QLatin1String("resourceName"), resource.name);
        item.insert(QLatin1String("resourceType"), resource.type);
        item.insert(QLatin1String("path"), resource.path);
        item.insert(QLatin1String("resolutionW"), resource.resolution.width());
        item.insert(QLatin1String("resolutionH"), resource.resolution.height());
        item.insert(QLatin1String("demuxerSuccessed"), resource.demuxered);
        item.insert(QLatin1String("duration"), static_cast<qint64>(resource.duration));
        for (std::size_t i = 0; i < kResourceFlags.size(); ++i)
            item.insert(QLatin1String(kResourceFlags[i]), flags[i]);
        items.append(item);
    }
    QJsonObject reply;
    reply.insert(QLatin1String("result"), 1);
    reply.insert(QLatin1String("count"), items.size());
    reply.insert(QLatin1String("resourceMgrData"), items);
    return QJsonDocument(reply).toJson();
}

SCase CaseOf(int count)
{
    const auto read = [](const QByteArray& sent) { return ReadList(*HostModels::Show().Current(), sent); };
    return ListCase<SListedResource>("resource-list", Command::ResourceList, count, MakeShow(count), read, ListByHand);
}

} // namespace

std::vector<SCase> Cases::ResourceList()
{
    return {CaseOf(2'500), CaseOf(5'000), CaseOf(10'000)};
}
