#include "device/parameter_frames.h"

#include "link/frames.h"

namespace device
{

namespace
{

QByteArray bytes(std::initializer_list<quint8> values)
{
    QByteArray out;
    for (quint8 v : values)
        out.append(static_cast<char>(v));
    return out;
}
} // namespace

QByteArray informationRequest(quint8 address)
{
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend,
                            bytes({frames::kReadConfiguration, 0x00}));
}

QByteArray setAddressFrame(quint8 address, quint8 newAddress)
{
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend, bytes({0x01, 0x7A, newAddress}));
}

QByteArray identificationFrame(const QByteArray &fourBytes)
{
    Q_ASSERT(fourBytes.size() == 4);
    return frames::mbusLong(frames::kSndUdFcb, kPointToPointAddress, frames::kCiDataSend,
                            bytes({0x0C, 0x79}) + fourBytes);
}

QByteArray identificationPreparationFrame()
{
    return identificationFrame(QByteArray(4, '\xFF'));
}

QByteArray speedFrame(quint8 address, quint8 speedCode)
{
    return frames::mbusLong(frames::kSndUd, address, speedCode, QByteArray());
}

QByteArray reportDayFrame(quint8 address, quint8 day)
{
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend, bytes({0x01, 0xFF, 0x1A, day}));
}

QByteArray clockWriteFrame(quint8 address, const MbusDateTimeEncoding &dateTime)
{
    return frames::mbusLong(frames::kSndUd, address, frames::kCiDataSend,
                            bytes({0x06, 0x6D}) + dateTime.bytes());
}

QByteArray probeFrame(quint8 address)
{
    return frames::mbusShort(frames::kSndNke, address);
}

QByteArray reqUd2Frame()
{
    return frames::mbusShort(frames::kReqUd2Fcb, kPointToPointAddress);
}

} // namespace device
