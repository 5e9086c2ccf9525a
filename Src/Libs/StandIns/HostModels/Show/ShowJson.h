#pragma once

#include "HostModels/Show/Show.h"

#include <QJsonArray>
#include <QJsonObject>

// The objects of a show in the format of the show file.
QJsonObject ToJson(const SResource& resource);
QJsonObject ToJson(const SSceneGroup& group);
QJsonObject ToJson(const CMediaNode& media);
QJsonObject ToJson(const SScreen& screen);

/// Returns an object with one key, whose value is the array of the values' objects.
/// \param values pointers
template <class Values>
QJsonObject ListOf(const char* key, const Values& values)
{
    QJsonArray list;
    for (const auto& value : values)
        list.append(ToJson(*value));
    return {{key, list}};
}
