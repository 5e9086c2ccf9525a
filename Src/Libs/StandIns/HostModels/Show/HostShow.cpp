#include "HostModels/Show/HostShow.h"

#include "HostModels/HostModels.h"

namespace {

thread_local const SShow* t_read = nullptr; ///< the show of the thread's innermost CShowReading

} // namespace

CHostShow& CHostShow::GetInstance()
{
    static CHostShow show;
    return show;
}

CHostShow& HostModels::Show()
{
    return CHostShow::GetInstance();
}

CShowReading::CShowReading() : CShowReading(t_read ? nullptr : CHostShow::GetInstance().Current()) {}

CShowReading::CShowReading(std::shared_ptr<const SShow> show)
    : m_outer(t_read), m_pinned(std::move(show)), m_read(m_pinned ? m_pinned.get() : t_read)
{
    t_read = m_read;
}

CShowReading::~CShowReading()
{
    t_read = m_outer;
}
