// vCard files on any bytes: the reader must refuse or skip what it cannot read, and every card it does read must
// come back the same through the writer.

#include "fuzz_support.h"

#include "sections/contacts/vcard.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const contacts::VCardReading reading = contacts::ReadVCards(fuzz::Bytes(data, size));
    if (!reading.refusal.isEmpty() && !reading.cards.isEmpty()) {
        std::abort();
    }
    for (const contacts::VCardEntry& entry : reading.cards) {
        const contacts::VCardReading again =
            contacts::ReadVCards(contacts::WriteVCard(entry.contact, entry.categories));
        if (again.cards.size() != 1 || again.skippedCount != 0) {
            std::abort();
        }
        const contacts::Contact& a = entry.contact;
        const contacts::Contact& b = again.cards.first().contact;
        if (a.texts != b.texts || a.birthday != b.birthday || a.anniversary != b.anniversary ||
            a.comDisplay != b.comDisplay || entry.categories != again.cards.first().categories) {
            std::abort();
        }
    }
    return 0;
}
