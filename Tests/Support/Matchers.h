#pragma once

#include "Support/RecordingChannels.h"

#include "Interfaces/ResultModel.h"

#include <QJsonObject>

#include <gmock/gmock.h>

#include <iosfwd>
#include <string>

// Print values of failed tests: packages decoded, JSON in one line.
void PrintTo(const QJsonObject& json, std::ostream* out);
void PrintTo(const SChannelCall& call, std::ostream* out);
void PrintTo(const SResultData& result, std::ostream* out);

using CallMatcher = testing::Matcher<const SChannelCall&>;

/// Matches a packet to the connected app with this code and, byte for byte, this object's indented text.
CallMatcher Sent(unsigned int code, const QJsonObject& json, int channel = AppServer::Control);
/// Matches a packet to the connected app with this code and any body.
CallMatcher SentCode(unsigned int code);
/// Matches a packet on the control channel to this address only.
CallMatcher SentTo(const std::string& ip, int port, unsigned int code, const QJsonObject& json);
CallMatcher SentEmptyTo(const std::string& ip, int port, unsigned int code);
CallMatcher SentToFP(unsigned int code, const QJsonObject& json);
CallMatcher SentToCentral(const std::string& text, const std::string& ip, int port);
CallMatcher SentToCloud(int route, const std::string& text);

/// Matches a report to the host whose fields all have these values.
testing::Matcher<const SResultData&> Report(const SResultData& expected);
