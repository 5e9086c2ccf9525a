#pragma once

#include <QJsonObject>

#include <optional>
#include <vector>

/// What the host promises to remotes, from Src/Contract/Contract.json.
namespace Contract {

/// The replies that show that a request has been dealt with, one entry for each that must come. Nothing where none are
/// listed for the asker ("app", "fp" or "cloud"): of commands, and of what isn't known.
std::optional<std::vector<QJsonObject>> RepliesTo(const char* asker, unsigned int code);

} // namespace Contract
