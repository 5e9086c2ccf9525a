#include "ExternalController/MsgSender/Reply.h"

#include <algorithm>

void CReply::Remove(CReplyKey key)
{
    m_body.remove(key.Latin1());
    const auto isRemoved = [&](const SMember& member) { return member.key == key; };
    m_members.erase(std::remove_if(m_members.begin(), m_members.end(), isRemoved), m_members.end());
}

QByteArray CReply::Text() const
{
    CReplyWriter writer;
    writer.Write(*this);
    return writer.Take();
}
