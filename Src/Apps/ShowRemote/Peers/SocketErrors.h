#pragma once

#include <QString>

#include <asio/error_code.hpp>

#include <cstdint>

/// The system's reason as it reads inside a sentence.
QString ReasonOf(const asio::error_code& error);
/// Why a connection can't be had, and what to look at.
QString CantConnect(const QString& host, std::uint16_t port, const asio::error_code& error);
QString CantFind(const QString& host);
