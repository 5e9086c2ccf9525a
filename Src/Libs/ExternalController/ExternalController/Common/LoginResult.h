#pragma once

/// What an app's login is answered with as "result".
namespace LoginResult {
enum Code : int {
    Success = 0,
    UnknownUser = 1,
    WrongPassword = 2,
    AnotherAppLoggedIn = 3,
};
} // namespace LoginResult
