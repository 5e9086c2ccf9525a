#pragma once

#include "Support/RecordingChannels.h"

#include "Interfaces/ResultModel.h"

#include <QJsonObject>

#include <gmock/gmock.h>

#include <iosfwd>
#include <string>

// What a failed test prints: packages decoded, JSON in one line.
void PrintTo(const QJsonObject& json, std::ostream* out);
void PrintTo(const SChannelCall& call, std::ostream* out);
void PrintTo(const SResultData& result, std::ostream* out);

using CallMatcher = testing::Matcher<const SChannelCall&>;

/// A packet to the connected app with this code and, byte for byte, this object's indented text.
CallMatcher Sent(unsigned int code, const QJsonObject& json, int channel = AppServer::Control);
/// A packet to the connected app with this code, whatever it carries.
CallMatcher SentCode(unsigned int code);
/// A packet on the control channel to this address alone.
CallMatcher SentTo(const std::string& ip, int port, unsigned int code, const QJsonObject& json);
CallMatcher SentEmptyTo(const std::string& ip, int port, unsigned int code);
CallMatcher SentToFP(unsigned int code, const QJsonObject& json);
CallMatcher SentToCentral(const std::string& text, const std::string& ip, int port);

/// What the host is told, every field.
testing::Matcher<const SResultData&> Report(const SResultData& expected);
