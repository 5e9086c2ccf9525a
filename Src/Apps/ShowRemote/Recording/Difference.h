#pragma once

#include "ShowRemote/Recording/Recording.h"

#include <QSet>
#include <QStringList>

/// How strictly a reply is compared with the recorded one. By default: the form, and keys and types of JSON.
struct SComparison {
    bool strict = false;       ///< compares values and lengths too
    QSet<QString> varyingKeys; ///< keys whose values differ from run to run, which are never compared
};

/// Returns the differences, each with its JSON path, such as "$.scenes[0].name: missing". Empty if there are none.
QStringList DifferencesOf(const SPayload& recorded, const SPayload& received, const SComparison& comparison);
