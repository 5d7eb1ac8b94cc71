#include "device/parameter_frames.h"

#include "link/frames.h"

namespace device
{

namespace
{
constexpr quint8 kSndUd = 0x53;
constexpr quint8 kSndUdIdentification = 0x73;
constexpr quint8 kSndNke = 0x40;
constexpr quint8 kReqUd2 = 0x7B;
constexpr quint8 kCiCommand = 0x51;
constexpr quint8 kReadConfiguration = 0x7F;

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
    return frames::mbusLong(kSndUd, address, kCiCommand, bytes({kReadConfiguration, 0x00}));
}

QByteArray setAddressFrame(quint8 address, quint8 newAddress)
{
    return frames::mbusLong(kSndUd, address, kCiCommand, bytes({0x01, 0x7A, newAddress}));
}

QByteArray identificationFrame(const QByteArray &fourBytes)
{
    Q_ASSERT(fourBytes.size() == 4);
    return frames::mbusLong(kSndUdIdentification, kPointToPointAddress, kCiCommand,
                            bytes({0x0C, 0x79}) + fourBytes);
}

QByteArray identificationPreparationFrame()
{
    return identificationFrame(QByteArray(4, '\xFF'));
}

QByteArray speedFrame(quint8 address, quint8 speedCode)
{
    return frames::mbusLong(kSndUd, address, speedCode, QByteArray());
}

QByteArray reportDayFrame(quint8 address, quint8 day)
{
    return frames::mbusLong(kSndUd, address, kCiCommand, bytes({0x01, 0xFF, 0x1A, day}));
}

QByteArray clockWriteFrame(quint8 address, const MbusDateTimeEncoding &dateTime)
{
    return frames::mbusLong(kSndUd, address, kCiCommand, bytes({0x06, 0x6D}) + dateTime.bytes());
}

QByteArray probeFrame(quint8 address)
{
    return frames::mbusShort(kSndNke, address);
}

QByteArray reqUd2Frame()
{
    return frames::mbusShort(kReqUd2, kPointToPointAddress);
}

} // namespace device
