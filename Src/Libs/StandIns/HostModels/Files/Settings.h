#pragma once

#include "HostModels/Files/JsonFile.h"
#include "Interfaces/GlobalModel.h"

#include <QColor>
#include <QString>

#include <vector>

/// The host's settings. Docs/Settings.md describes them.
struct SSettings {
    QString hostName; ///< empty: the machine's name; at most 255 bytes in UTF-8
    bool appSupport = true;
    bool cloudSupport = false;
    QString resourceFolder; ///< folder for uploads; empty: "Resources" in the state folder
    QString ftpUser = QStringLiteral("demo");
    QString ftpPassword = QStringLiteral("demo");
    QString appId; ///< id of the app that the operator has admitted
    int stagePreviewMode = 0;
    QColor stageColor = Qt::black;
    QString stageStreamUrl;
    QString sharedFolder; ///< folder whose files apps can list; empty: none
    QString fpAddress;    ///< IP address or host name of the FP controller; empty: the FP client's default
    int fpPort = 0;       ///< 0: the FP client's default
    QString cloudUrl;     ///< "wss://host:port" or "ws://host:port"; empty: the cloud client's default
    QString cloudUser;
    QString cloudAccount;
    QString cloudPassword;           ///< encrypted
    QString cloudCaFile;             ///< PEM file of trusted certificates; empty: those of the system
    bool cloudVerifies = true;       ///< whether the cloud service's certificate is verified
    std::vector<SAPPUserNode> users; ///< in the order in which they were added
};

/// Adds the user, or replaces the user of that name.
void PutUser(std::vector<SAPPUserNode>& users, SAPPUserNode user);

/// Returns the name, cut to at most 255 bytes in UTF-8 at a character boundary.
QString LimitedHostName(const QString& name);

/// Returns the given settings, overridden by those of the file.
/// \throws CFileError if the file is invalid. A user whose password can't be decrypted is an error as well: the module
///         would accept any login password that can't be decrypted for this user.
SSettings ReadSettings(const QString& file, SSettings settings = {});
SSettings ReadSettings(const CJsonObjectReader& reader, SSettings settings = {});
