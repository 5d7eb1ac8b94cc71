// Journal telegrams: a page of records and the summary, decoded for any kind and channel count, and
// their rows rendered under the table's titles.
//
// Input: [0] kind (mod 5) [1] channel count (mod 17), then the frame.

#include "device/journal.h"
#include "link/frames.h"
#include "tests/fuzz/fuzz_input.h"

namespace journal = device::journal;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    const auto kind = journal::Kind(in.byte() % 5);
    const int channels = in.byte() % 17;
    const QByteArray frame = in.rest();

    journal::Page page;
    const journal::PageFault fault = journal::decodePage(frame, kind, channels, &page);
    FUZZ_CHECK((fault == journal::PageFault::None) == journal::pageFaultText(fault).isEmpty());
    if (fault == journal::PageFault::None) {
        const frames::FrameCheck check = frames::checkMbus(frame);
        FUZZ_CHECK(check.state == frames::Completeness::Complete && check.frameLength == frame.size());
        // Every row stands on at least one record of its own bytes.
        FUZZ_CHECK(page.rows.size() <= frame.size());
        const int columns = journal::columnTitles(kind, channels).size();
        for (const journal::Row &row : page.rows) {
            if (kind != journal::Kind::Events)
                FUZZ_CHECK(row.counters.size() == channels);
            FUZZ_CHECK(journal::rowTexts(row, kind).size() == columns);
        }
    }

    journal::Summary summary;
    const journal::PageFault summaryFault = journal::decodeSummary(frame, &summary);
    if (summaryFault == journal::PageFault::None)
        FUZZ_CHECK(summary.held >= 0);
    return 0;
}
