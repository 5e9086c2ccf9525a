#include "ExternalController/Common/Command.h"
#include "ExternalController/Common/ResourceType.h"
#include "Senders/DirectText.h"
#include "Senders/ListCase.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <memory>
#include <string_view>
#include <utility>

namespace {

using namespace std::string_view_literals;

/// In the order of the text; other keys are between the two groups.
constexpr std::array kResourceFlags = {
    "flipSupport"sv,     "isGroupResource"sv, "isHasRealThumbnail"sv, "isPicResource"sv,   "isSupportFillMode"sv,
    "isSupportScroll"sv, "isTextResource"sv,  "isUsedFlag"sv,         "isVideoResource"sv, "multiPageResource"sv,
    "needPushStream"sv,  "showResolution"sv,  "streamWithAlpha"sv,    "volumeSupport"sv};
constexpr std::size_t kFlagsOfFirstGroup = 11;

QLatin1String ToLatin1(std::string_view key)
{
    return QLatin1String(key.data(), static_cast<int>(key.size()));
}

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
            listed.flags[i] = item[ToLatin1(kResourceFlags[i])].toBool();
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
            item.insert(ToLatin1(kResourceFlags[i]), flags[i]);
        items.append(item);
    }
    QJsonObject reply;
    reply.insert(QLatin1String("result"), 1);
    reply.insert(QLatin1String("count"), items.size());
    reply.insert(QLatin1String("resourceMgrData"), items);
    return QJsonDocument(reply).toJson();
}

void WriteDirect(CJsonText& text, const SListedResource& listed)
{
    const auto& [resource, flags] = listed;
    CDirectObject item(text, 8);
    item.Set("demuxerSuccessed", resource.demuxered);
    item.Set("duration", resource.duration);
    for (std::size_t i = 0; i < kFlagsOfFirstGroup; ++i)
        item.Set(kResourceFlags[i], flags[i]);
    item.Set("path", resource.path);
    item.Set("resolutionH", resource.resolution.height());
    item.Set("resolutionW", resource.resolution.width());
    item.Set("resourceId", resource.id);
    item.Set("resourceName", resource.name);
    item.Set("resourceType", resource.type);
    for (std::size_t i = kFlagsOfFirstGroup; i < flags.size(); ++i)
        item.Set(kResourceFlags[i], flags[i]);
}

QByteArray ListDirect(const std::vector<SListedResource>& list)
{
    CJsonText text;
    {
        CDirectObject reply(text, 0);
        reply.Set("count", static_cast<int>(list.size()));
        reply.Key("resourceMgrData");
        text.Add("[\n");
        for (const SListedResource& resource : list) {
            text.Add(&resource == list.data() ? "        " : ",\n        ");
            WriteDirect(text, resource);
        }
        text.Add("\n    ]");
        reply.Set("result", 1);
    }
    text.Add("\n");
    return text.Take();
}

SCase CaseOf(int count)
{
    constexpr double kAim = 2;
    const auto read = [](const QByteArray& sent) { return ReadList(*HostModels::Show().Current(), sent); };
    return ListCase<SListedResource>("resource-list", Command::ResourceList, count, kAim, MakeShow(count), read,
                                     ListByHand, ListDirect);
}

} // namespace

std::vector<SCase> Cases::ResourceList()
{
    return {CaseOf(2'500), CaseOf(5'000), CaseOf(10'000)};
}
