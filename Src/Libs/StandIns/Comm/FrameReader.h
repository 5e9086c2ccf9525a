#pragma once

#include "Comm/Envelope.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

/// Cuts a byte stream into whole envelopes of the code form, however the bytes arrive. Single-threaded.
class CFrameReader {
public:
    enum class Result {
        Ok,
        WrongMark, ///< the stream is not made of envelopes
        TooLong,   ///< an envelope claims a body beyond the limit
        Stopped,   ///< onFrame wanted no more
    };

    explicit CFrameReader(std::size_t maxBodyBytes = Envelope::kMaxReplyBodyBytes) : m_maxBodyBytes(maxBodyBytes) {}

    /// Calls onFrame(std::string_view) -> bool with each envelope that is complete, header included, for as long as it
    /// returns true. After a result other than Ok the reader is of no more use.
    template <class OnFrame>
    Result Feed(std::string_view bytes, OnFrame&& onFrame)
    {
        // Most reads hold whole envelopes only: those are never copied.
        const bool fromPending = !m_pending.empty();
        if (fromPending) {
            AppendToPending(bytes);
            bytes = {m_pending.data(), m_pending.size()};
        }
        std::string_view rest = bytes;
        while (rest.size() >= Envelope::kMarkBytes) {
            if (std::memcmp(rest.data(), Envelope::kCodeMark, Envelope::kMarkBytes) != 0)
                return Result::WrongMark;
            if (rest.size() < Envelope::kCodeHeaderBytes)
                break;
            const std::size_t body = Envelope::ReadNumber(rest.data() + Envelope::kCodeHeaderBytes - 4);
            if (body > m_maxBodyBytes)
                return Result::TooLong;
            const std::size_t frame = Envelope::kCodeHeaderBytes + body;
            if (rest.size() < frame)
                break;
            if (!onFrame(rest.substr(0, frame)))
                return Result::Stopped;
            rest.remove_prefix(frame);
            ++m_frames;
        }
        // A new buffer: that of a large envelope isn't retained for the small one that follows.
        if (!fromPending || rest.size() < bytes.size())
            m_pending = std::vector<char>(rest.begin(), rest.end());
        return Result::Ok;
    }

    /// Frees what an unfinished envelope holds. The reader is of no more use.
    void Release() { m_pending = {}; }

    /// Whether an envelope has begun and not ended.
    bool IsInsideFrame() const { return !m_pending.empty(); }
    /// The memory that the unfinished envelope takes.
    std::size_t HeldBytes() const { return m_pending.capacity(); }
    /// How many envelopes there were so far.
    std::size_t Frames() const { return m_frames; }

private:
    /// Grows by doubling, but never beyond the envelope that is being received, whatever its header claims.
    void AppendToPending(std::string_view bytes)
    {
        const std::size_t size = m_pending.size() + bytes.size();
        if (size > m_pending.capacity()) {
            const std::size_t frame = m_pending.size() < Envelope::kCodeHeaderBytes
                                          ? 0
                                          : Envelope::kCodeHeaderBytes +
                                                Envelope::ReadNumber(m_pending.data() + Envelope::kCodeHeaderBytes - 4);
            m_pending.reserve(std::max(size, std::min(2 * m_pending.capacity(), frame)));
        }
        m_pending.insert(m_pending.end(), bytes.begin(), bytes.end());
    }

    std::size_t m_maxBodyBytes;
    std::size_t m_frames = 0;
    std::vector<char> m_pending;
};
