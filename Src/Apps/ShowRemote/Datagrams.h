#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <cstdint>

constexpr int kLargestDatagram = 65535;

namespace Datagrams {

/// Sends a datagram to a host and returns the first that comes back, with where it comes from told on standard output.
/// Without an answer throws CFailure.
QByteArray Ask(const QString& host, std::uint16_t port, const QByteArray& datagram, std::chrono::milliseconds timeout);

} // namespace Datagrams
