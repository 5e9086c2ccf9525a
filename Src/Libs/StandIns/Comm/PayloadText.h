#pragma once

#include <QByteArray>
#include <QString>

#include <string>

/// What a device is sent, in one line for people: control characters as "\r" or "\x02".
QString PayloadText(const QByteArray& payload);
/// "8 bytes: PWR ON\r".
std::string TrafficText(const std::string& payload);
