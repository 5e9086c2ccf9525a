#include "HostModels/HostModels.h"

#include <utility>

namespace {

/// Passes commands to the handler that the host has set.
class CHostResultModel : public CResultModel {
public:
    static CHostResultModel& GetInstance()
    {
        static CHostResultModel model;
        return model;
    }

    void NotifyExControlMsgResult(bool, SResultData& result) override
    {
        if (handler)
            handler(result);
    }

    std::function<void(const SResultData&)> handler;
};

} // namespace

CResultModel* CResultModel::GetInstance()
{
    return &CHostResultModel::GetInstance();
}

void HostModels::SetResultHandler(std::function<void(const SResultData&)> handler)
{
    CHostResultModel::GetInstance().handler = std::move(handler);
}
