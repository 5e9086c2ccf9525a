#pragma once

#include <QJsonObject>
#include <QSet>
#include <QString>

#include <optional>
#include <vector>

/// The replies that the host sends to remotes, from Src/Contract/Contract.json.
namespace Contract {

/// Returns the replies that show that a request has been handled, one entry for each reply that must arrive. Returns no
/// value if the contract lists no replies for the asker: for commands and for unknown codes.
/// \param asker "app", "fp", "central" or "cloud"
std::optional<std::vector<QJsonObject>> RepliesTo(const char* asker, unsigned int code);

/// Returns the keys whose values differ from run to run, in all messages with this code.
QSet<QString> VaryingKeys(unsigned int code);
/// Returns whether the host sends messages with this code unasked.
bool IsNotice(unsigned int code);

/// Returns "the host refused the request: ..." for a result text ("errorMsg") other than success, and an empty text for
/// success and for an empty result text.
QString RefusalOf(const QString& resultText);

} // namespace Contract
