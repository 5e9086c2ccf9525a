#pragma once

#include "Interfaces/ResultModel.h"

class CExternalController;
class CHostLog;

/// Carries out what the module hands to the host, on the thread of the channel that received it.
class CHostCommands {
public:
    CHostCommands(CExternalController& controller, CHostLog& log);

    void CarryOut(const SResultData& command);

private:
    /// A sender answers the request; its channel only doesn't route it.
    void HandBack(const SResultData& command);
    void TakeUpload(const SResultData& command);

    CExternalController& m_controller;
    CHostLog& m_log;
};
