#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

struct SShow;

/// Runs a harness with one input. Each harness defines this function and nothing else; FuzzHost.cpp calls it with
/// the host in its initial state and checks afterwards that the show is consistent.
void FuzzInput(std::string_view input);

/// The module on recording channels in the stand-in host with the demo show, which also executes commands as showhost
/// does: everything behind the sockets. Single-threaded, one instance per process.
namespace FuzzHost {

/// A request in an input of several; see ForEachRequest.
struct SRequest {
    std::uint32_t code = 0;
    std::uint8_t flags = 0;
    std::string body;
};

/// Splits an input into at most 16 requests that are separated by a byte 0x1e: two bytes with the code, big-endian, one
/// byte with flags that each harness defines, and the body. The separator isn't looked for in code and flags.
void ForEachRequest(std::string_view input, const std::function<void(const SRequest&)>& handle);

enum class EChannel { AppControl, AppBulk, FP };

/// Delivers an envelope in the code form, or bytes that need not be one.
void SendEnvelope(EChannel channel, std::uint32_t code, std::string_view body);
void SendBytes(EChannel channel, std::string bytes);
/// Logs the app in as the user "demo".
void LogIn();
/// Delivers the close notice of the app's connection.
void CloseApp();

/// Writes the input to a file of this process, and returns its path. The next call overwrites it.
QString WriteFile(std::string_view input);

/// Reports the violated condition and aborts, which libFuzzer records as a crash.
void Require(bool condition, const char* text);
/// Checks that all values that remotes can change are within their ranges.
void RequireConsistent(const SShow& show);

} // namespace FuzzHost
