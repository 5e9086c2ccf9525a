#pragma once

#include <QJsonObject>

#include <optional>
#include <vector>

/// What the host promises to remotes, from Src/Contract/Contract.json.
namespace Contract {

/// The replies that show that a request has been handled, one entry for each that must come. No value where none are
/// listed for the asker ("app", "fp", "central" or "cloud"): for commands, and for codes that aren't known.
std::optional<std::vector<QJsonObject>> RepliesTo(const char* asker, unsigned int code);

/// "the host refused it: ..." for a result text ("errorMsg") other than success; empty for success and for no text.
QString RefusalOf(const QString& resultText);

} // namespace Contract
