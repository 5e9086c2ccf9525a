#pragma once

#include <QJsonObject>

/// A command that the host executes.
struct SResultData {
    int nSenderType = -1;
    int nCmdCode = -1;
    bool hasData = false; ///< app, FP controller: the JSON body is not empty; always false for the other sources
    QJsonObject jsonBody;
    int nSourceFlags = 0;
};

/// Receives the commands that the module does not answer, on the thread of the channel that received them.
class CResultModel {
public:
    static CResultModel* GetInstance();
    virtual ~CResultModel() = default;

    virtual void NotifyExControlMsgResult(bool success, SResultData& result) = 0;
};
