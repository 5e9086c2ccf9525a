#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>
#include <optional>

constexpr int kLargestDatagram = 65535;

namespace Datagrams {

/// Sends a datagram to a host and returns the first one that comes back, after printing its sender's address.
/// \param mayBeSilent  the host needs not answer: after a short wait for an error the function returns no value
/// Throws CFailure if no answer comes although one must, or nothing listens at the host's port.
std::optional<QByteArray> Ask(const QString& host, std::uint16_t port, const QByteArray& datagram,
                              std::chrono::milliseconds timeout, bool mayBeSilent = false);

} // namespace Datagrams
