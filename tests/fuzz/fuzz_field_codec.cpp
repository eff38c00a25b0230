// The field codec's readers on any bytes: a record blob, its texts one by one, one item, a headerless item, a bare
// payload, a field descriptor, and the text of stored bytes.

#include "fuzz_support.h"

#include "store/codepage.h"
#include "store/field_descriptor.h"
#include "store/record_get.h"
#include "store/record_put.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray blob = fuzz::Bytes(data, size);
    // The first byte doubles as the index and type code asked for, so that hits are not left to chance.
    const std::uint8_t pick = blob.isEmpty() ? 0 : static_cast<std::uint8_t>(blob[0]);

    for (const bool sequential : {false, true}) {
        for (const auto texts : {Record_Get::Texts::Decoded, Record_Get::Texts::Raw}) {
            FieldValues grown;
            if (Record_Get::GetRecord(grown, blob, sequential, texts) > 256 && !sequential) {
                std::abort(); // an index byte cannot reach beyond 255
            }
            FieldValues sized(8);
            if (Record_Get::GetRecord(sized, blob, sequential, texts) != 8) {
                std::abort();
            }
        }
    }
    // The texts Find searches are the texts the record holds, in order; a visit that stops ends the walk.
    FieldValues sequence;
    Record_Get::GetRecord(sequence, blob, true);
    qsizetype visited = 0;
    Record_Get::AnyText(blob, [&](int, const QString&) { return ++visited < 3; });
    if (visited > 3 || visited > sequence.size()) {
        std::abort();
    }
    Record_Get::FieldValue field;
    Record_Get::GetField(field, blob, pick);
    Record_Get::DecodeValue(blob.mid(1), pick);
    Record_Get::DecodeTyped(blob);
    Record_Put::ReplaceField(blob, QStringLiteral("x"), pick);
    ParseFieldDescriptor(QString::fromLatin1(blob));

    // What is read from a file and saved again must not change.
    const QString text = codepage::FromBytes(blob);
    if (codepage::FromBytes(codepage::ToBytes(text)) != text) {
        std::abort();
    }
    return 0;
}
