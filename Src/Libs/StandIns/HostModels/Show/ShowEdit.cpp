#include "HostModels/Show/ShowEdit.h"

SMediaProperties PropertiesOf(const CMediaNode& media)
{
    SMediaProperties properties;
    properties.id = media.GetId();
    properties.name = media.GetName();
    properties.resourceId = media.GetResourceId();
    properties.resourceType = media.GetResourceType();
    properties.layout = *media.GetLayoutProperty();
    properties.play = *media.GetPlayProperty();
    properties.timing = *media.GetTimingProperty();
    properties.pageScroll = *media.GetPageScroll();
    return properties;
}

SResourceProperties PropertiesOf(const CResourceBase& resource)
{
    SResourceProperties properties;
    properties.id = resource.GetId();
    properties.type = resource.GetType();
    properties.name = resource.GetName();
    properties.path = resource.GetPath();
    properties.resolution = resource.GetResolution();
    properties.demuxered = resource.GetResDemuxered();
    properties.duration = resource.GetDuration();
    properties.useCount = resource.GetResourceUseCount();
    return properties;
}
