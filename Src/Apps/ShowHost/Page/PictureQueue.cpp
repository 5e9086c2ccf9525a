#include "ShowHost/Page/PictureQueue.h"

#include <QBuffer>

#include <chrono>
#include <utility>

namespace {

constexpr int kJpegQuality = 85;

QByteArray JpegOf(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!image.isNull())
        image.save(&buffer, "JPEG", kJpegQuality);
    return bytes;
}

} // namespace

void CPictureQueue::Add(Paint paint, Done done)
{
    m_waiting.push_back({std::move(paint), std::move(done)});
    Poll();
}

void CPictureQueue::AddUrgent(Paint paint, Done done)
{
    m_waiting.push_front({std::move(paint), std::move(done)});
    Poll();
}

void CPictureQueue::Poll()
{
    if (m_painted.valid()) {
        if (m_painted.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
            return;
        const Done done = std::exchange(m_done, nullptr);
        done(m_painted.get());
    }
    if (m_painted.valid() || m_waiting.empty())
        return;
    m_done = std::move(m_waiting.front().done);
    m_painted =
        std::async(std::launch::async, [paint = std::move(m_waiting.front().paint)] { return JpegOf(paint()); });
    m_waiting.pop_front();
}
