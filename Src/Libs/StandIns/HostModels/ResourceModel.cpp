#include "Interfaces/ResourceModel.h"

#include "ExternalController/Common/Picture.h"
#include "ExternalController/Common/ResourceType.h"
#include "HostModels/HostShow.h"
#include "HostModels/Painting.h"
#include "HostModels/ShowEdit.h"
#include "HostModels/ShowJson.h"

namespace {

/// The resource with the number of media that use it.
CResourceBase Counted(const CResourceBase& resource, const QHash<QUuid, int>& useCounts)
{
    const auto count = useCounts.constFind(resource.GetId());
    if (count == useCounts.constEnd())
        return resource;
    SResourceProperties properties = PropertiesOf(resource);
    properties.useCount = *count;
    return CResourceBase(std::make_shared<const SResourceProperties>(std::move(properties)));
}

class CHostResourceModel : public CResourceModel {
public:
    QList<CResourceBase> GetAllResNode(bool, int type) override
    {
        QList<CResourceBase> nodes;
        const SProject* project = CHostShow::GetInstance().Reading().Project();
        if (!project)
            return nodes;
        nodes.reserve(static_cast<int>(project->resources.size()));
        const QHash<QUuid, int> useCounts = CHostShow::GetInstance().Reading().UseCounts();
        for (const auto& resource : project->resources) {
            if (type == kEveryResourceType || resource->base.GetType() == type)
                nodes.append(Counted(resource->base, useCounts));
        }
        return nodes;
    }

    bool GetResourceBaseNode(const QUuid& id, CResourceBase& base) override
    {
        const SResource* resource = Find(id);
        if (resource)
            base = Counted(resource->base, CHostShow::GetInstance().Reading().UseCounts());
        return resource != nullptr;
    }

    bool GetGroupResourceNode(const QUuid& id, CResourceBase& base, CGroupResource& group) override
    {
        const SResource* resource = Find(id);
        if (!resource || resource->base.GetType() != ResourceType::Group)
            return false;
        base = Counted(resource->base, CHostShow::GetInstance().Reading().UseCounts());
        group = CGroupResource(resource->groupType);
        return true;
    }

    bool GetTextResourceNode(const QUuid& id, CResourceBase& base, CTextResource& text) override
    {
        const SResource* resource = Find(id);
        if (!resource || resource->base.GetType() != ResourceType::Text)
            return false;
        base = Counted(resource->base, CHostShow::GetInstance().Reading().UseCounts());
        text = CTextResource(resource->text);
        return true;
    }

    QPixmap GetAppThumbnail(const QUuid& id) override
    {
        const SResource* resource = Find(id);
        return resource ? QPixmap::fromImage(Painting::PaintResource(*resource, kThumbnailSize)) : QPixmap();
    }

    QPixmap GetSharedResourceThumbnail(int type) override
    {
        return QPixmap::fromImage(Painting::PaintTypeCard(type, kThumbnailSize));
    }

    QJsonObject SaveResourceModel(bool, bool) override
    {
        const SProject* project = CHostShow::GetInstance().Reading().Project();
        return project ? ListOf("resources", project->resources) : QJsonObject();
    }

private:
    static const SResource* Find(const QUuid& id)
    {
        const SProject* project = CHostShow::GetInstance().Reading().Project();
        return project ? project->ResourceById(id) : nullptr;
    }
};

} // namespace

CResourceModel* CResourceModel::GetInstance()
{
    static CHostResourceModel model;
    CHostShow::GetInstance().BeginReading();
    return &model;
}

QPixmap CResourceBase::GetThumbnail() const
{
    const SProject* project = CHostShow::GetInstance().Reading().Project();
    const SResource* resource = project ? project->ResourceById(GetId()) : nullptr;
    return resource ? QPixmap::fromImage(Painting::PaintResource(*resource, kThumbnailSize)) : QPixmap();
}
