// Category lists on any bytes: a list text as the drop-down lists, the editor and the importer take it, and a
// category row of the file read through LoadCategoryText (the old format is rewritten on reading).
//
// Input: a flag byte, the section, the budget, then two pieces (see fuzz::Pieces): the list text and the row's
// text. Flags: the low two bits say what fEtx holds (0 no row, 1 the row's text behind the right owner header,
// enciphered, 2 the row's text alone, enciphered, 3 the row's text as it is); 4 marks the current format (fF1);
// 8 asks for the budget's list.

#include "fuzz_support.h"

#include "sections/categories/categories.h"
#include "store/codepage.h"
#include "store/row.h"

namespace {

constexpr std::int32_t kUser = 3;

void AddRow(Store& store, int flags, int section, int budget, const QByteArray& text) {
    AddNewRow(store.connection(), [&](std::int64_t fpk, RowValues& row) {
        const auto key = static_cast<std::int32_t>(fpk);
        switch (flags & 3) {
        case 1:
            row.set(Col::fEtx, store.cry.Cipher(key, 1, categories::CategoryPlainText(kUser, section, {}) + text));
            break;
        case 2:
            row.set(Col::fEtx, store.cry.Cipher(key, 1, text));
            break;
        default:
            row.set(Col::fEtx, text);
        }
        row.set(Col::fSec, categories::kCategoryRowSection);
        row.set(Col::fSub, section);
        row.set(Col::fR1, kUser);
        row.set(Col::fR3, budget);
        row.set(Col::fF1, (flags & 4) != 0 ? 1 : 0);
        return true;
    });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray input = fuzz::Bytes(data, size);
    if (input.size() < 3) {
        return 0;
    }
    const int flags = static_cast<unsigned char>(input[0]);
    const int section = static_cast<unsigned char>(input[1]);
    const int budget = static_cast<unsigned char>(input[2]);
    fuzz::Pieces pieces(input.mid(3));
    const QString listText = codepage::FromBytes(pieces.next());
    const QByteArray rowText = pieces.next();

    for (const bool all : {false, true}) {
        ListEntries entries;
        categories::AddCategoryEntries(entries, listText, {all, true, true});
        categories::NewCategoryId(entries);
        categories::JoinCategoryList(entries);
    }
    QString list = listText;
    categories::FindOrAddCategory(list, QStringLiteral("Fuzz"));
    categories::MapCategoryNames(list, listText);

    fuzz::ScratchStore scratch;
    Store& store = scratch.store;
    store.cry.setKeyPool(fuzz::FixedPool());
    store.user.fPK = kUser;
    if ((flags & 3) != 0) {
        AddRow(store, flags, section, budget, rowText);
    }
    ListEntries entries;
    categories::FillCategoryEntries(store, entries, section, {true, true, true},
                                    (flags & 8) != 0 ? std::optional<int>(budget) : std::nullopt);
    return 0;
}
