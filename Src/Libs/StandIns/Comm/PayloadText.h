#pragma once

#include <QByteArray>
#include <QString>

#include <string>

/// Escapes text from outside so that it can be printed on one line of a log or a terminal. Control characters (C0, DEL,
/// C1), line and paragraph separators and invisible format characters such as bidirectional overrides become "\n",
/// "\x1b" or "\u202e"; invalid UTF-8 becomes U+FFFD. The zero-width joiners, which some scripts and emoji need, and
/// backslashes are not changed; escaping a text twice gives the same result as escaping it once.
QString LineText(const QString& text);
/// The same for UTF-8.
std::string LineText(const std::string& text);

/// Escapes the data sent to a device for one line of a log: like LineText, and a backslash becomes "\\".
QString PayloadText(const QByteArray& payload);
/// Describes data of a device, such as "8 bytes: PWR ON\r".
std::string TrafficText(const std::string& payload);
