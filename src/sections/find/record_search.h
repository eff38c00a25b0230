#pragma once

#include "store/field_codec.h"
#include "store/row.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QVector>

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>

class CRY;
class Store;

// Searching the deciphered records of chosen sections. The file cannot search enciphered text, so every row of
// those sections is deciphered; the rows are grouped by their key selector so that a key schedule, which costs
// far more than the text it opens, is made once per selector and not once per row.
namespace find {

// A record that matched, as the find list shows it and as its section needs it to go there.
struct Hit {
    int section = 0;
    std::int32_t key = 0;
    QString item;
    QString detail;
    int budget = 0; // the budget of a transaction; 0 in the other sections
    QDate date;     // the day the Calendar, the Diary and the Budget go to; invalid elsewhere
};

// What a section gives for its record that matched: the list texts and where it lies. `fields` are the decoded
// fields of the record; `row` holds the columns fPK, fSec, fSub, fR3, fF1, fF3, fT1 and fT2. Runs on a worker
// thread, with that worker's cipher.
using Describe = std::function<Hit(CRY& cry, const Row& row, const FieldValues& fields)>;

// The sealed title in `column` of the row, opened; empty when it does not open. For a section's Describe.
QString TitleIn(CRY& cry, const Row& row, Col column);

// A section Find can search, as the section tells it.
struct SearchableSection {
    int section = 0;
    Describe describe;
    bool alwaysPrivate = false;  // every record counts as private
    QList<int> unsearchedFields; // texts the program keeps for itself, which no one typed
};

// A section whose hits are listed by the title sealed in fT1, with `detail` giving the second column.
using TitleDetail = std::function<QString(CRY& cry, const Row& row, const QString& title)>;
SearchableSection ListedByTitle(int section, TitleDetail detail);

struct Query {
    QString text;
    QList<int> sections; // in the order the list should show them
    bool caseSensitive = false;
    bool showPrivate = false;
    int owner = 0; // only this user's records are searched, as only they are listed
};

// Whether `text` may be searched for: two characters at least.
bool SearchableText(const QString& text);

struct Outcome {
    qsizetype rows = 0;         // rows deciphered
    qsizetype keySchedules = 0; // for the rows; the titles of hits are opened besides
    bool stopped = false;
    bool failed = false; // the file could not be read; the hits so far stand
};

// Searches the rows of the query's sections. `found` receives the hits in batches as they come, from worker
// threads but never two calls at once. `stop` is polled between rows; a stopped search keeps what it found.
// Rows are read through the store's connection, so nothing else may use it until the search returns.
Outcome Search(Store& store, const Query& query, std::span<const SearchableSection> sections,
               const std::atomic<bool>& stop, const std::function<void(QVector<Hit>&& hits)>& found);

// The same search row by row on the calling thread, as a check on the grouped one and a measure of it.
QVector<Hit> SearchRowByRow(Store& store, const Query& query, std::span<const SearchableSection> sections);

// Hits in the order the list ends in: by the query's section order, then by item, case-blind, then by key.
void SortHits(QVector<Hit>& hits, const QList<int>& sectionOrder);

} // namespace find
