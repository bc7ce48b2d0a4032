// The ring of traced calls, as a program leaves it that writes where it likes: the reader comes to an end,
// and report and page are made of what it hands over.
#include "page.hpp"
#include "trace_ring.hpp"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using qnm::trace::Ring;

void expect(bool holds)
{
    if (!holds)
        __builtin_trap();
}

/// An input: tickets, those written again, what the reader does, a number that is odd where all slots are the
/// last one that is told; then slots from the first on.
void overwrite(Ring& ring, const std::uint8_t* data, std::size_t size)
{
    struct Head {
        std::uint64_t tickets = 0, retried = 0;
        std::uint32_t reader = 0, repeats = 0;
    } head;
    const std::size_t told = std::min(size, sizeof head);
    std::memcpy(&head, data, told);
    ring.tickets = head.tickets;
    ring.retried = head.retried;
    ring.reader = head.reader;
    auto* const slots = reinterpret_cast<std::uint8_t*>(ring.slots);
    std::size_t written = std::min(size - told, sizeof ring.slots);
    std::memcpy(slots, data + told, written);
    if (head.repeats % 2 == 1 && written >= sizeof ring.slots[0])
        for (written -= written % sizeof ring.slots[0]; written < sizeof ring.slots; ++written)
            slots[written] = slots[written - sizeof ring.slots[0]];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qnm::run::TraceRing reader;
    const int file = open(reader.path().c_str(), O_RDWR | O_CLOEXEC);
    void* const mapped = mmap(nullptr, sizeof(Ring), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    overwrite(*static_cast<Ring*>(mapped), data, size);
    munmap(mapped, sizeof(Ring));

    static const auto lines = std::make_shared<qnm::run::CallReader>(); // reads the catalogue once
    qnm::run::Totals totals(0, lines);
    const auto take = [&](const qnm::run::Record& record) {
        expect(record.line.size() <= sizeof(qnm::trace::Slot::line) &&
               record.line.find('\0') == record.line.npos);
        totals.add(record);
    };
    reader.read(take);
    reader.read_last(take);
    expect(reader.lost() <= 4 * qnm::trace::slot_count);
    qnm::run::report_text(totals);
    const std::string page = qnm::run::page_text(totals, {});
    expect(page.size() < 2'000'000 && page.find("<script") == page.rfind("<script"));
    return 0;
}
