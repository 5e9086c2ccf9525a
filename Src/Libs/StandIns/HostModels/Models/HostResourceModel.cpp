#include "Interfaces/ResourceModel.h"

#include "ExternalController/Common/Picture.h"
#include "ExternalController/Common/ResourceType.h"
#include "HostModels/Pictures/Painting.h"
#include "HostModels/Show/HostShow.h"
#include "HostModels/Show/ShowEdit.h"
#include "HostModels/Show/ShowJson.h"

namespace {

/// Returns the resource with its use count: the number of media of the current scene that use it.
CResourceBase Counted(const CResourceBase& resource, const QHash<QUuid, int>& useCounts)
{
    const auto count = useCounts.constFind(resource.GetId());
    if (count == useCounts.constEnd())
        return resource;
    SResourceProperties properties = PropertiesOf(resource);
    properties.useCount = *count;
    return CResourceBase(std::make_shared<const SResourceProperties>(std::move(properties)));
}

const SResource* Find(const SShow& show, const QUuid& id)
{
    const SProject* project = show.Project();
    return project ? project->ResourceById(id) : nullptr;
}

class CHostResourceModel : public CResourceModel {
public:
    QList<CResourceBase> GetAllResNode(bool, int type) override
    {
        QList<CResourceBase> nodes;
        const CShowReading show;
        const SProject* project = show->Project();
        if (!project)
            return nodes;
        nodes.reserve(static_cast<int>(project->resources.size()));
        const QHash<QUuid, int> useCounts = show->UseCounts();
        for (const auto& resource : project->resources) {
            if (type == kEveryResourceType || resource->base.GetType() == type)
                nodes.append(Counted(resource->base, useCounts));
        }
        return nodes;
    }

    bool GetResourceBaseNode(const QUuid& id, CResourceBase& base) override
    {
        const CShowReading show;
        const SResource* resource = Find(*show, id);
        if (resource)
            base = Counted(resource->base, show->UseCounts());
        return resource != nullptr;
    }

    bool GetGroupResourceNode(const QUuid& id, CResourceBase& base, CGroupResource& group) override
    {
        const CShowReading show;
        const SResource* resource = Find(*show, id);
        if (!resource || resource->base.GetType() != ResourceType::Group)
            return false;
        base = Counted(resource->base, show->UseCounts());
        group = CGroupResource(resource->groupType);
        return true;
    }

    bool GetTextResourceNode(const QUuid& id, CResourceBase& base, CTextResource& text) override
    {
        const CShowReading show;
        const SResource* resource = Find(*show, id);
        if (!resource || resource->base.GetType() != ResourceType::Text)
            return false;
        base = Counted(resource->base, show->UseCounts());
        text = CTextResource(resource->text);
        return true;
    }

    QPixmap GetAppThumbnail(const QUuid& id) override
    {
        const CShowReading show;
        const SResource* resource = Find(*show, id);
        return resource ? QPixmap::fromImage(Painting::PaintResource(*resource, kThumbnailSize)) : QPixmap();
    }

    QPixmap GetSharedResourceThumbnail(int type) override
    {
        return QPixmap::fromImage(Painting::PaintTypeCard(type, kThumbnailSize));
    }

    QJsonObject SaveResourceModel(bool, bool) override
    {
        const CShowReading show;
        const SProject* project = show->Project();
        return project ? ListOf("resources", project->resources) : QJsonObject();
    }
};

} // namespace

CResourceModel* CResourceModel::GetInstance()
{
    static CHostResourceModel model;
    return &model;
}

QPixmap CResourceBase::GetThumbnail() const
{
    const CShowReading show;
    const SResource* resource = Find(*show, GetId());
    return resource ? QPixmap::fromImage(Painting::PaintResource(*resource, kThumbnailSize)) : QPixmap();
}
