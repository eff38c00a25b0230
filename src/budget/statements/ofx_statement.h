#pragma once

#include "budget/statements/statement.h"

#include <QByteArray>

// Open Financial Exchange statements (OFX 1.x in SGML, 2.x in XML, and the same files named QFX), read through
// libofx: bank and credit card statements, and the cash movements of investment accounts.
namespace budget::statements {

// The bookings of the file: FITID as the bank's identifier, NAME (or the PAYEE's name) as the partner, MEMO as the
// note, CHECKNUM as the number. The date is DTPOSTED's day as the bank wrote it, never moved by a time zone, and
// the amount is TRNAMT's text read exactly.
Statement ReadOfxStatement(const QByteArray& bytes);

} // namespace budget::statements
