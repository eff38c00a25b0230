#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include <cstdint>

// The layout of a section's record, parsed from its triples "index name type".
struct FieldDescriptor {
    QStringList names;
    QVector<std::uint8_t> types;
    QVector<QVariant> values; // sized like names, every slot unset
};

// Entry k takes its name and type from the k-th triple; the leading number of a triple documents the index and
// is not read. Splits at single blanks, as the descriptors are written.
FieldDescriptor ParseFieldDescriptor(const QString& descriptor);
