#pragma once

#include "HostModels/Show.h"

#include <memory>
#include <utility>

// What a show holds by shared pointer is replaced by a changed copy.

SMediaProperties PropertiesOf(const CMediaNode& media);
SResourceProperties PropertiesOf(const CResourceBase& resource);

/// Calls edit(SProject&) for the open project, if there is one.
template <class Edit>
void EditProject(SShow& show, Edit&& edit)
{
    if (!show.Project())
        return;
    auto project = std::make_shared<SProject>(*show.Project());
    edit(*project);
    show.projects[show.openProject] = std::move(project);
}

/// Calls edit(SResourceProperties&) for a resource of the project, if it is there.
template <class Edit>
void EditResource(SProject& project, const QUuid& resourceId, Edit&& edit)
{
    const SResource* before = project.ResourceById(resourceId);
    if (!before)
        return;
    SResource resource = *before;
    SResourceProperties properties = PropertiesOf(resource.base);
    edit(properties);
    resource.base = CResourceBase(std::make_shared<const SResourceProperties>(std::move(properties)));
    project.resources[project.resourceIndex[resourceId]] = std::make_shared<const SResource>(std::move(resource));
}

/// Calls edit(SMediaProperties&) for each medium of the current scene.
template <class Edit>
void EditStageMedia(SShow& show, Edit&& edit)
{
    const SScene* before = show.CurrentScene();
    if (!before)
        return;
    SScene scene = *before;
    for (CMediaNode& medium : scene.media) {
        SMediaProperties properties = PropertiesOf(medium);
        edit(properties);
        medium = CMediaNode(std::make_shared<const SMediaProperties>(std::move(properties)));
    }
    EditProject(show, [&](SProject& project) {
        const QUuid& groupId = show.playback.group;
        SSceneGroup group = *project.FindGroup(groupId);
        group.scenes[group.sceneIndex[show.playback.scene]] = std::make_shared<const SScene>(std::move(scene));
        project.groups[project.groupIndex[groupId]] = std::make_shared<const SSceneGroup>(std::move(group));
    });
}
