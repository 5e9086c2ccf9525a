#pragma once

#include <QByteArray>
#include <QImage>

#include <deque>
#include <functional>
#include <future>

/// Paints pictures on another thread, one after the other, and encodes them as JPEG. On one thread only.
class CPictureQueue {
public:
    using Paint = std::function<QImage()>;
    using Done = std::function<void(const QByteArray& jpeg)>;

    /// \param paint called on another thread
    /// \param done  called by Poll; gets no bytes if the picture is null
    void Add(Paint paint, Done done);
    /// As above, but before the pictures that wait.
    void AddUrgent(Paint paint, Done done);
    /// Passes on the picture that is finished and starts the next one. Does not block.
    void Poll();

private:
    struct SPicture {
        Paint paint;
        Done done;
    };

    std::deque<SPicture> m_waiting;
    Done m_done;
    std::future<QByteArray> m_painted; ///< its destructor waits until the thread has ended
};
