#include "Interfaces/ScreenModel.h"

#include "HostModels/HostShow.h"
#include "HostModels/ShowJson.h"

namespace {

class CHostScreenModel : public CScreenModel {
public:
    std::vector<std::shared_ptr<const IScreenItem>> GetAllScreen() override
    {
        const auto& screens = CHostShow::GetInstance().Reading().screens;
        return {screens.begin(), screens.end()};
    }

    QJsonObject SaveData() override { return ListOf("screens", CHostShow::GetInstance().Reading().screens); }
};

} // namespace

CScreenModel* CScreenModel::GetInstance()
{
    static CHostScreenModel model;
    CHostShow::GetInstance().BeginReading();
    return &model;
}
