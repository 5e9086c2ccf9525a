#pragma once

#include <QString>

#include <chrono>

class CEnvelopePeer;
class CCommandLine;

struct SCredentials {
    QString user;
    QString password;
    QString appVersion;
    bool force = false; ///< replace an app that is logged in
};

/// Adds --user, --password-fd, --force and --app-version.
void AddLoginOptions(CCommandLine& line);
/// Throws CWrongUsage if an option of a login is given.
void RefuseLoginOptions(const CCommandLine& line);
/// Returns the credentials from the options and the environment. If these don't contain the password, asks for it on
/// the terminal.
SCredentials ReadCredentials(const CCommandLine& line);

/// Requests the host's public key and logs in with the encrypted password. Throws CFailure if the host refuses the
/// login.
void LogIn(CEnvelopePeer& peer, const SCredentials& credentials, std::chrono::milliseconds timeout);
