#pragma once

#include "Comm/Envelope.h"

#include <cstring>
#include <string>
#include <string_view>

/// Cuts a byte stream into whole envelopes of the code form, however the bytes arrive. Single-threaded.
class CFrameReader {
public:
    enum class Verdict {
        Sound,
        WrongMark, ///< the stream is not made of envelopes
        TooLong,   ///< an envelope claims a body beyond the limit
        Stopped,   ///< onFrame wanted no more
    };

    explicit CFrameReader(std::size_t maxBodyBytes = Envelope::kMaxBodyBytes) : m_maxBodyBytes(maxBodyBytes) {}

    /// Calls onFrame(std::string_view) -> bool with each envelope that is complete, header included, for as long as it
    /// returns true. After a verdict other than Sound the reader is of no more use.
    template <class OnFrame>
    Verdict Feed(std::string_view bytes, OnFrame&& onFrame)
    {
        // Most reads hold whole envelopes only: those are never copied.
        const bool fromPending = !m_pending.empty();
        if (fromPending) {
            m_pending.append(bytes);
            bytes = m_pending;
        }
        std::string_view rest = bytes;
        while (rest.size() >= Envelope::kMarkBytes) {
            if (std::memcmp(rest.data(), Envelope::kCodeMark, Envelope::kMarkBytes) != 0)
                return Verdict::WrongMark;
            if (rest.size() < Envelope::kCodeHeaderBytes)
                break;
            const std::size_t body = Envelope::ReadNumber(rest.data() + Envelope::kCodeHeaderBytes - 4);
            if (body > m_maxBodyBytes)
                return Verdict::TooLong;
            const std::size_t frame = Envelope::kCodeHeaderBytes + body;
            if (rest.size() < frame)
                break;
            if (!onFrame(rest.substr(0, frame)))
                return Verdict::Stopped;
            rest.remove_prefix(frame);
            ++m_frames;
        }
        if (!fromPending)
            m_pending.assign(rest);
        else
            m_pending.erase(0, bytes.size() - rest.size());
        if (m_pending.empty())
            m_pending.shrink_to_fit();
        return Verdict::Sound;
    }

    /// Whether an envelope has begun and not ended.
    bool IsInsideFrame() const { return !m_pending.empty(); }
    /// How many envelopes there were so far.
    std::size_t Frames() const { return m_frames; }

private:
    std::size_t m_maxBodyBytes;
    std::size_t m_frames = 0;
    std::string m_pending;
};
