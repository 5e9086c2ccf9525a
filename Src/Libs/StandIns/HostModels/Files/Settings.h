#pragma once

#include "HostModels/Files/JsonFile.h"
#include "Interfaces/GlobalModel.h"

#include <QColor>
#include <QString>

#include <vector>

/// The host's settings, apart from the show's own.
struct SSettings {
    QString hostName; ///< empty: the machine's; 255 bytes of UTF-8 at most
    bool appSupport = true;
    bool cloudSupport = false;
    QString resourceFolder; ///< where uploads go; empty: "Resources" in the state folder
    QString ftpUser = QStringLiteral("demo");
    QString ftpPassword = QStringLiteral("demo");
    QString appId; ///< the app that the operator admitted
    int stagePreviewMode = 0;
    QColor stageColor = Qt::black;
    QString stageStreamUrl;
    QString sharedFolder; ///< empty: the app can list none
    QString fpAddress;    ///< of the FP controller, an address or a name; empty: the FP client's own
    int fpPort = 0;       ///< 0: the FP client's own
    QString cloudUrl;     ///< "wss://host:port" or "ws://host:port"; empty: the cloud client's own
    QString cloudUser;
    QString cloudAccount;
    QString cloudPassword;           ///< encrypted
    QString cloudCaFile;             ///< certificates to trust instead of the system's; empty: the system's
    bool cloudVerifies = true;       ///< the cloud's certificate
    std::vector<SAPPUserNode> users; ///< in the order in which they were added
};

/// Adds the user, or replaces the one of that name.
void PutUser(std::vector<SAPPUserNode>& users, SAPPUserNode user);

/// The name as far as a host's may be long, cut between two characters.
QString LimitedHostName(const QString& name);

/// The settings with what the file says changed. Throws CFileError, also for a user whose password can't be
/// decrypted: the module would let in every password that can't be decrypted either.
SSettings ReadSettings(const QString& file, SSettings settings = {});
SSettings ReadSettings(const CJsonObjectReader& reader, SSettings settings = {});
