#pragma once

#include "HostModels/Show/Show.h"

#include <QJsonArray>
#include <QJsonObject>

// What a show holds, in the form of the show file.
QJsonObject ToJson(const SResource& resource);
QJsonObject ToJson(const SSceneGroup& group);
QJsonObject ToJson(const CMediaNode& media);
QJsonObject ToJson(const SScreen& screen);

/// An object's list under a key.
template <class Values>
QJsonObject ListOf(const char* key, const Values& values)
{
    QJsonArray list;
    for (const auto& value : values)
        list.append(ToJson(*value));
    return {{key, list}};
}
