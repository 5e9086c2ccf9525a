#pragma once

#include "HostModels/Show/Show.h"

#include <QJsonObject>

#include <functional>
#include <string>
#include <vector>

// Shows in memory, from small numbers: what has the number 7 has an id that ends in 7, and a name such as "Scene 7".

QUuid Id(int number);
/// Without braces.
QString IdText(int number);
/// The object that the text is, where "#7" stands for the text of that id and "{#7}" for the one with braces.
QJsonObject Json(const std::string& text);

/// Demuxed, and its file is there.
SResource MakeResource(int id, int type);
SResource MakeResource(const SResourceProperties& properties);
/// 200 by 100 at 100, 50.
CMediaNode MakeMedium(int id, const SResource& resource, const std::function<void(SMediaProperties&)>& change = {});
/// Fades in within 500 and out within 1500 milliseconds.
SScene MakeScene(int id, std::vector<CMediaNode> media = {});
SSceneGroup MakeGroup(int id, const std::vector<SScene>& scenes);
SProject MakeProject(int id, const std::vector<SSceneGroup>& groups = {}, const std::vector<SResource>& resources = {});
SScreen MakeScreen(int id);

/// Loads a show of these, of which the first is open, with its first scene paused after 1.5 seconds.
void LoadShow(const std::vector<SProject>& projects, const std::vector<SScreen>& screens = {});
/// Loads a show of one project with these resources, whose only scene has these media.
void LoadStage(const std::vector<SResource>& resources, const std::vector<CMediaNode>& media = {});
