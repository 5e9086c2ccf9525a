#pragma once

#include "Comm/Envelope.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

/// Splits a byte stream into complete envelopes of the code form. The bytes may arrive in pieces of any size.
/// Not thread-safe.
class CFrameReader {
public:
    enum class Result {
        Ok,
        WrongMark, ///< the bytes are not an envelope
        TooLong,   ///< the header of an envelope gives a body length above the limit
        Stopped,   ///< onFrame returned false
    };

    explicit CFrameReader(std::size_t maxBodyBytes = Envelope::kMaxReplyBodyBytes) : m_maxBodyBytes(maxBodyBytes) {}

    /// Calls onFrame(std::string_view) -> bool with each complete envelope, including the header, until it returns
    /// false. After a result other than Ok the reader can't be used any more.
    template <class OnFrame>
    Result Feed(std::string_view bytes, OnFrame&& onFrame)
    {
        // Most reads contain complete envelopes only, which are not copied.
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
        // A new buffer, so that the memory of a large envelope is freed before a small one follows.
        if (!fromPending || rest.size() < bytes.size())
            m_pending = std::vector<char>(rest.begin(), rest.end());
        return Result::Ok;
    }

    /// Frees the memory of an incomplete envelope. The reader can't be used any more.
    void Release() { m_pending = {}; }

    /// Whether an envelope has been received in part.
    bool IsInsideFrame() const { return !m_pending.empty(); }
    /// Memory of the incomplete envelope, in bytes.
    std::size_t HeldBytes() const { return m_pending.capacity(); }
    /// Number of envelopes received so far.
    std::size_t Frames() const { return m_frames; }

private:
    /// Doubles the capacity as bytes arrive, but not beyond the length in the header: a header alone must not allocate
    /// memory for the whole body.
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
