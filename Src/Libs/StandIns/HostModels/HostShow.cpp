#include "HostModels/HostShow.h"

#include <utility>

namespace {

thread_local std::shared_ptr<const SShow> t_reading;
thread_local std::shared_ptr<const SShow> t_fixed; ///< set while the thread has a CShowReading

} // namespace

CHostShow& CHostShow::GetInstance()
{
    static CHostShow show;
    return show;
}

void CHostShow::BeginReading()
{
    t_reading = t_fixed ? t_fixed : m_show.Read();
}

const SShow& CHostShow::Reading()
{
    if (!t_reading)
        BeginReading();
    return *t_reading;
}

CShowReading::CShowReading(std::shared_ptr<const SShow> show) : m_outer(std::exchange(t_fixed, std::move(show)))
{
    t_reading.reset();
}

CShowReading::~CShowReading()
{
    t_fixed = std::move(m_outer);
    t_reading.reset();
}
