#pragma once

#include <asio/serial_port.hpp>

#include <optional>
#include <string>

/// Parameters of a serial line.
struct SLineSettings {
    unsigned int baudRate = 9600; ///< bits per second
    unsigned int dataBits = 8;    ///< per character, 5 to 8
    asio::serial_port_base::parity::type parity = asio::serial_port_base::parity::none;
    asio::serial_port_base::stop_bits::type stopBits = asio::serial_port_base::stop_bits::one;
    asio::serial_port_base::flow_control::type flowControl = asio::serial_port_base::flow_control::none;
};

/// Reads "baud rate,data bits,parity,stop bits,flow control" such as "9600,8,N,1" or "115200,7,E,2,hardware". Values
/// that are omitted at the end have the defaults of SLineSettings.
/// \return nullopt for an invalid text; reason is set then
std::optional<SLineSettings> ReadLineSettings(const std::string& text, std::string& reason);

/// Applies the settings to the open port, up to the first one that fails.
/// \return the setting and the error; empty on success
std::string ApplyLineSettings(const SLineSettings& settings, asio::serial_port& port);
