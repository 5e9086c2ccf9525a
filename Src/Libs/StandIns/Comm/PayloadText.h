#pragma once

#include <QByteArray>
#include <QString>

#include <string>

/// Text from outside for one line of a log or a terminal: control characters (C0, DEL, C1), line and paragraph
/// separators and invisible format characters such as bidirectional overrides are written as "\n", "\x1b" or "\u202e",
/// invalid UTF-8 as U+FFFD. The zero-width joiners, which some scripts and emoji need, and backslashes remain, so that
/// applying it again changes nothing.
QString LineText(const QString& text);
/// The same of UTF-8.
std::string LineText(const std::string& text);

/// What a device is sent, in one line for people: as LineText, and a backslash is written as "\\".
QString PayloadText(const QByteArray& payload);
/// "8 bytes: PWR ON\r".
std::string TrafficText(const std::string& payload);
