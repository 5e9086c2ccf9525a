#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

/// Upper limit of a UDP datagram's size, in bytes.
constexpr int kLargestDatagram = 65535;

namespace Datagrams {

/// Sends a datagram to a host, prints the address of the first answer's sender and returns that answer.
///
/// Throws CFailure if no answer arrives within the timeout, or if no socket is bound to the host's port.
/// \param mayBeSilent don't require an answer: return no value after a short wait for an error
std::optional<QByteArray> Ask(const QString& host, std::uint16_t port, const QByteArray& datagram,
                              std::chrono::milliseconds timeout, bool mayBeSilent = false);

} // namespace Datagrams
