#pragma once

#include <QString>

#include <asio/error_code.hpp>

#include <cstdint>

/// Returns the system's text for an error, with a lower-case first letter.
QString ReasonOf(const asio::error_code& error);
/// Returns the message for a failed connection, with a hint if it was refused.
QString CantConnect(const QString& host, std::uint16_t port, const asio::error_code& error);
/// Returns the message for a host name that can't be resolved.
QString CantFind(const QString& host);
