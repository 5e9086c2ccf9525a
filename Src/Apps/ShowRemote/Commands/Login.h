#pragma once

#include <QString>

#include <chrono>

class CEnvelopePeer;
class CCommandLine;

struct SCredentials {
    QString user;
    QString password;
    QString appVersion;
    bool force = false; ///< take the place of an app that is logged in
};

void AddLoginOptions(CCommandLine& line);
/// None of the options of a login may be given.
void RefuseLoginOptions(const CCommandLine& line);
/// What the options tell. Asks for the password on the terminal if nothing else gives it.
SCredentials ReadCredentials(const CCommandLine& line);

/// Fetches the host's key and logs in with the password encrypted. A refusal is thrown as CFailure.
void LogIn(CEnvelopePeer& peer, const SCredentials& credentials, std::chrono::milliseconds timeout);
