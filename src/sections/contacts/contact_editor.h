#pragma once

#include "base/result.h"
#include "sections/contacts/contact.h"

#include <QDate>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QVector>

#include <array>
#include <cstdint>
#include <optional>

class Store;

// What the contact editor computes, apart from its controls: the communication rows, the address sets, the
// FileAs candidates, whether anything changed, the dates and categories as typed, and the save with the
// birthday and anniversary in the calendar.
namespace contacts {

constexpr int kComRows = 10;

// The rows a contact without a usable ComSort shows: Work, Home, Mobile, Fax (work), E-Mail, Website, Chat,
// Pager, Main and Company main.
const QVector<int>& DefaultComSort();
// The ten slots of a ComSort text; the default unless it holds exactly ten slot numbers that a row may show.
QVector<int> ReadComSort(const QString& text);
// The ComSort a save writes: up to nine filled slots in slot order, filled up with the default's other slots,
// so that the next opening shows the values first.
QString BuildComSort(const Contact& contact);

// The ten communication rows of the editor over the contact's slots. A row is a view on a slot: a value typed
// into a row belongs to its slot and stays there when the row's chooser moves on, and two rows on one slot show
// one value. The primary option belongs to a row, so choosing another slot in that row makes it primary.
class ComRows {
public:
    explicit ComRows(const Contact& contact);

    // The texts of each row's chooser, in slot order; the reserved slots are never offered.
    static QStringList ChooserLabels();

    int slotOf(int row) const { return m_rowSlots[row]; }
    QString value(int row) const { return m_values[m_rowSlots[row]]; }
    void setValue(int row, const QString& text) { m_values[m_rowSlots[row]] = text; }
    void chooseSlot(int row, int slot);

    // The row with the primary option, -1 when the primary slot has no row.
    int primaryRow() const { return m_primaryRow; }
    void setPrimaryRow(int row) { m_primaryRow = row; }

    // The slot values and the primary slot into `contact`; a primary slot without a row stays as it was.
    void applyTo(Contact& contact) const;

private:
    std::array<QString, kSlotCount> m_values;
    QVector<int> m_rowSlots;
    int m_primaryRow = -1;
};

// The fields of Street, City, State, PostalCode and Country of the set the `ctlAddress` option shows: 0 Home,
// 1 Business, 2 Other.
constexpr int kAddressSets = 3;
std::array<int, 5> AddressFields(int option);

// How the person writes a name: "Last, First" or "First Last".
enum class NameOrder { LastFirst, FirstLast };

// The FileAs candidates of a contact's last name, first name and company, without empty ones or duplicates.
QStringList FileAsCandidates(const Contact& contact, NameOrder order);

struct FileAsChoice {
    QStringList candidates;
    QString chosen; // empty when there is no candidate
};
// The candidates, keeping `chosenBefore` while it is one of them and otherwise taking the first.
FileAsChoice RebuildFileAs(const Contact& contact, const QString& chosenBefore, NameOrder order);
// Message 15 for a contact that has nothing to be filed as.
Result CheckFileAs(const QString& fileAs);

// Whether the contact as typed differs from the one loaded in anything the editor shows. The rows' layout is
// not a change: the save lays the rows out anew.
bool ChangedSinceLoaded(const Contact& loaded, const Contact& typed);

// A date field's text; empty for no date.
QString DateText(const QDate& date, const QLocale& locale);
// A date field's date: no date for an empty text, nothing for a text that is not a date.
std::optional<QDate> DateOfText(const QString& text, const QLocale& locale);

// The categories as filed: the primary first, then the others chosen, each once; "Unfiled" and the list
// commands are no categories. Without a primary the first chosen leads.
QVector<int> EditorCategories(int primary, const QVector<int>& chosen);

enum class YearlyDate { Birthday, Anniversary };
// The subject of the contact's yearly appointment: its FileAs, " (", "Birthday" or "Anniversary", ")".
QString YearlySubject(const QString& fileAs, YearlyDate which);
// The key of the reader's yearly appointment for `date` under `subject`; 0 when there is none.
std::int32_t FindYearlyEvent(Store& store, const QDate& date, const QString& subject);

// The two check boxes that ask for the birthday and the anniversary in the calendar.
struct CalendarRequest {
    bool birthday = false;
    bool anniversary = false;
};

// Stores the contact as typed, with the ComSort laid out anew, and the yearly appointments asked for and
// allowed by the settings, all or nothing. An appointment written by an earlier save of the contact (found by
// the loaded contact's subject and date, or the new ones) is moved to the new date and subject instead of
// adding a second one. `loaded` is a default Contact for a new one. On success `typed.key` is the contact's key.
Result SaveContactFromEditor(Store& store, const Contact& loaded, Contact& typed, const CalendarRequest& request,
                             const QDate& today);

} // namespace contacts
