#pragma once

/// The values of "result" in the reply to an app's login.
namespace LoginResult {
enum Code : int {
    Success = 0,
    UnknownUser = 1,
    WrongPassword = 2,
    AnotherAppLoggedIn = 3,
};
} // namespace LoginResult
