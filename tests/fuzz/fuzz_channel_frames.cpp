// The channel fetch reply: the fields the configuration write takes from it, and its decode into a
// channel's configuration.

#include "device/channel_frames.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray reply = wholeInput(data, size);

    const std::optional<device::FetchReplyFields> fields = device::fetchReplyFields(reply);
    FUZZ_CHECK(fields.has_value() == (reply.size() >= 25));
    if (fields) {
        FUZZ_CHECK(fields->deviceNumber == reply.mid(7, 4) && fields->manufacturer == reply.mid(11, 2));
        FUZZ_CHECK(fields->version == quint8(reply.at(13)) && fields->medium == quint8(reply.at(14)));
        FUZZ_CHECK(fields->value == reply.mid(21, 4));
    }

    const std::optional<device::ChannelConfiguration> channel = device::decodeChannelReply(reply);
    if (!channel)
        return 0;
    // Only a whole long frame at the start decodes; what follows it is not read.
    const frames::FrameCheck check = frames::checkMbus(reply);
    FUZZ_CHECK(check.state == frames::Completeness::Complete && check.frameLength <= reply.size());
    if (check.frameLength < reply.size()) {
        const std::optional<device::ChannelConfiguration> alone =
            device::decodeChannelReply(reply.left(check.frameLength));
        FUZZ_CHECK(alone && alone->unitVif == channel->unitVif && alone->counter == channel->counter &&
                   alone->errorFlags == channel->errorFlags);
    }
    FUZZ_CHECK(channel->deviceNumber == reply.mid(7, 4));
    FUZZ_CHECK(channel->manufacturer == quint16(quint8(reply.at(11)) | quint8(reply.at(12)) << 8));
    FUZZ_CHECK(channel->version == quint8(reply.at(13)) && channel->medium == quint8(reply.at(14)));
    FUZZ_CHECK(!channel->unitVif.isEmpty() && channel->unitVif.size() <= 2 &&
               reply.contains(channel->unitVif));
    if (channel->errorFlags)
        FUZZ_CHECK(!device::errorFlagsText(*channel->errorFlags).isEmpty());
    return 0;
}
