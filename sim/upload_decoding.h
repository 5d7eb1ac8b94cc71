#pragma once

// The metering server's reading of an upload: the M-Bus telegrams of a journal read (or a data
// telegram) as JSON, kept beside the upload as it came:
//   {"device": {"identification": "12345678", "manufacturer": "ZRV", "address": 1},
//    "kind": "daily",
//    "records": [{"number": 1, "time": "2026-11-22T00:00", "counters": [7000000, 7000100]}, ...]}
// Event records carry "event" (the code), "eventName" and "channel" (0 the device) in place of
// "counters". The kind is "events" when the records hold event codes; for counters it follows from
// the spacing of the records' times ("hourly", "daily", "monthly", "yearly"), "archive" when one
// record cannot tell, and "readings" for the data telegram (records without a storage number).
// The records are the telegrams' own, grouped by storage number in the order sent.

#include <QByteArray>
#include <QJsonObject>

namespace emulator
{

QJsonObject decodedUpload(const QByteArray &data);

} // namespace emulator
