#pragma once

#include <asio/serial_port.hpp>

#include <optional>
#include <string>

/// How a serial line is driven.
struct SLineSettings {
    unsigned int baudRate = 9600;
    unsigned int dataBits = 8;
    asio::serial_port_base::parity::type parity = asio::serial_port_base::parity::none;
    asio::serial_port_base::stop_bits::type stopBits = asio::serial_port_base::stop_bits::one;
    asio::serial_port_base::flow_control::type flowControl = asio::serial_port_base::flow_control::none;
};

/// Reads "baud rate,data bits,parity,stop bits,flow control" such as "9600,8,N,1" or "115200,7,E,2,hardware"; what is
/// left out at the end is as above. Nothing, and the reason, for a text that makes no sense.
std::optional<SLineSettings> ReadLineSettings(const std::string& text, std::string& reason);

/// Returns what the open port can't do; empty when it does everything.
std::string ApplyLineSettings(const SLineSettings& settings, asio::serial_port& port);
