#include "Interfaces/ScreenModel.h"

#include "HostModels/Show/HostShow.h"
#include "HostModels/Show/ShowJson.h"

namespace {

class CHostScreenModel : public CScreenModel {
public:
    std::vector<std::shared_ptr<const IScreenItem>> GetAllScreen() override
    {
        const CShowReading show;
        return {show->screens.begin(), show->screens.end()};
    }

    QJsonObject SaveData() override { return ListOf("screens", CShowReading()->screens); }
};

} // namespace

CScreenModel* CScreenModel::GetInstance()
{
    static CHostScreenModel model;
    return &model;
}
