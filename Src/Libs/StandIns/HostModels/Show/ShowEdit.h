#pragma once

#include "HostModels/Show/Show.h"

#include <memory>
#include <utility>

// Edits of a show. Objects that the show holds by shared pointer are immutable and replaced by changed copies.

SMediaProperties PropertiesOf(const CMediaNode& media);
SResourceProperties PropertiesOf(const CResourceBase& resource);

/// Calls edit(SProject&) for the open project. Does nothing if no project is open.
template <class Edit>
void EditProject(SShow& show, Edit&& edit)
{
    if (!show.Project())
        return;
    auto project = std::make_shared<SProject>(*show.Project());
    edit(*project);
    show.projects[show.openProject] = std::move(project);
}

/// Calls edit(SProject&) for the project with this id. Does nothing if the show doesn't have it.
template <class Edit>
void EditProject(SShow& show, const QUuid& projectId, Edit&& edit)
{
    for (auto& project : show.projects) {
        if (project->id != projectId)
            continue;
        auto changed = std::make_shared<SProject>(*project);
        edit(*changed);
        project = std::move(changed);
        return;
    }
}

/// Calls edit(SResourceProperties&) for each resource of the project with this file path, and marks its file as found.
/// Returns whether the project has such a resource.
template <class Edit>
bool EditResourcesOfFile(SProject& project, const QString& path, Edit&& edit)
{
    bool isThere = false;
    for (auto& resource : project.resources) {
        if (resource->base.GetPath() != path)
            continue;
        SResource changed = *resource;
        SResourceProperties properties = PropertiesOf(changed.base);
        edit(properties);
        changed.fileFound = true;
        changed.base = CResourceBase(std::make_shared<const SResourceProperties>(std::move(properties)));
        resource = std::make_shared<const SResource>(std::move(changed));
        isThere = true;
    }
    return isThere;
}

/// Calls edit(SMediaProperties&) for each medium of the current scene. Does nothing without a current scene.
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
