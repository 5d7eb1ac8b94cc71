#include "sim/request_assembler.h"

#include "link/frames.h"

namespace sim
{

namespace
{

using frames::Completeness;
using frames::FrameCheck;

FrameCheck checkRegisterRequest(const QByteArray &buffer)
{
    if (buffer.size() < 2)
        return {Completeness::NeedMore, 0, 2 - buffer.size()};
    int total = 0;
    switch (static_cast<quint8>(buffer.at(1))) {
    case frames::kReadRegisters:
        total = 8;
        break;
    case frames::kWriteRegisters:
        if (buffer.size() < 7)
            return {Completeness::NeedMore, 0, 7 - buffer.size()};
        total = 9 + static_cast<quint8>(buffer.at(6));
        break;
    default:
        return {Completeness::Invalid, 0, 0};
    }
    if (buffer.size() < total)
        return {Completeness::NeedMore, 0, total - buffer.size()};
    if (!frames::crcIntact(buffer.left(total)))
        return {Completeness::Invalid, 0, 0};
    return {Completeness::Complete, total, 0};
}

// The master never sends the single-character acknowledgement: on the device side E5 is noise.
FrameCheck checkMbusRequest(const QByteArray &buffer)
{
    if (!buffer.isEmpty() && static_cast<quint8>(buffer.at(0)) == frames::kAck)
        return {Completeness::Invalid, 0, 0};
    return frames::checkMbus(buffer);
}

enum class Verdict { Complete, NeedMore, Invalid };

// Classifies the bytes from `offset` on; on Complete, `frame` receives the request.
Verdict classify(const QByteArray &buffer, int offset, RequestFrame *frame)
{
    const QByteArray rest = buffer.mid(offset);
    const FrameCheck mbus = checkMbusRequest(rest);
    const FrameCheck reg = checkRegisterRequest(rest);
    const bool mbusDone = mbus.state == Completeness::Complete;
    const bool regDone = reg.state == Completeness::Complete;
    if (mbusDone || regDone) {
        // Both complete only by coincidence; the shorter one ended first on the line.
        const bool takeMbus = mbusDone && (!regDone || mbus.frameLength <= reg.frameLength);
        const int length = takeMbus ? mbus.frameLength : reg.frameLength;
        *frame = {takeMbus ? RequestFraming::MBus : RequestFraming::Register, rest.left(length)};
        return Verdict::Complete;
    }
    if (mbus.state == Completeness::NeedMore || reg.state == Completeness::NeedMore)
        return Verdict::NeedMore;
    return Verdict::Invalid;
}

} // namespace

QList<RequestFrame> RequestAssembler::feed(const QByteArray &bytes)
{
    buffer_.append(bytes);
    QList<RequestFrame> found;
    RequestFrame frame{RequestFraming::MBus, {}};
    while (!buffer_.isEmpty()) {
        const Verdict verdict = classify(buffer_, 0, &frame);
        if (verdict == Verdict::Invalid) {
            buffer_.remove(0, 1);
            ++dropped_;
            continue;
        }
        if (verdict == Verdict::NeedMore) {
            // Noise that looks like the start of a long frame must not hide a whole request behind it.
            int start = 1;
            while (start < buffer_.size() && classify(buffer_, start, &frame) != Verdict::Complete)
                ++start;
            if (start == buffer_.size())
                break;
            buffer_.remove(0, start);
            dropped_ += start;
        }
        found.append(frame);
        buffer_.remove(0, frame.bytes.size());
    }
    return found;
}

void RequestAssembler::reset()
{
    dropped_ += buffer_.size();
    buffer_.clear();
}

} // namespace sim
