#pragma once

#include "base/result.h"
#include "sections/find/record_search.h"
#include "shell/section_table.h"

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QVector>

#include <cstdint>
#include <optional>

class RandomSource;
class Store;

// A contact: names, company, three addresses, 24 communication slots, personal data, user fields and a note in
// one enciphered blob. The plain columns carry what the list needs without opening a blob: the sealed title and
// primary contact, the sealed mail list, and the category list.
namespace contacts {

constexpr int kContactSection = sections::Number(SectionId::Contacts);

enum ContactField {
    Owner,
    Private,
    Priority,
    Title,
    FirstName,
    MiddleName,
    LastName,
    Suffix,
    CompanyName,
    Department,
    JobTitle,
    BusinessAddressStreet,
    BusinessAddressCity,
    BusinessAddressState,
    BusinessAddressPostalCode,
    BusinessAddressCountry,
    HomeAddressStreet,
    HomeAddressCity,
    HomeAddressState,
    HomeAddressPostalCode,
    HomeAddressCountry,
    OtherAddressStreet,
    OtherAddressCity,
    OtherAddressState,
    OtherAddressPostalCode,
    OtherAddressCountry,
    Account,
    Anniversary,
    BillingInformation,
    Birthday,
    Children,
    Gender,
    GovernmentIDNumber,
    Profession,
    Spouse,
    OrganizationalIDNumber,
    CustomerID,
    User1,
    User2,
    User3,
    User4,
    User5,
    User6,
    User7,
    User8,
    User9,
    BusinessTelephoneNumber,
    Business2TelephoneNumber,
    HomeTelephoneNumber,
    Home2TelephoneNumber,
    OtherTelephoneNumber,
    MobileTelephoneNumber,
    Mobile2TelephoneNumber,
    BusinessFaxNumber,
    HomeFaxNumber,
    OtherFaxNumber,
    Email1Address,
    Email2Address,
    Email3Address,
    WebPage,
    BusinessHomePage,
    PersonalHomePage,
    Chat1,
    Chat2,
    PagerNumber,
    PrimaryTelephoneNumber,
    CompanyMainTelephoneNumber,
    reserveCom0,
    reserveCom1,
    reserveCom2,
    ComDisplay,
    ComSort,
    Notes,
    OutlookItemID,
    kFieldCount
};

// Slot s of the 24 communication slots is field kFirstSlot + s; the last three are reserved and never shown.
constexpr int kFirstSlot = BusinessTelephoneNumber;
constexpr int kSlotCount = 24;
constexpr int kShownSlots = 21;
constexpr int kFirstMailSlot = Email1Address;
constexpr int kMailSlots = 3;

// What a blank date field holds: OLE day 949998, the first of January 4501.
QDate NoDate();

QString ContactDescriptor();
// The label of slot `slot`, as the pane and the editor's choosers show it.
QString SlotLabel(int slot);

struct Contact {
    std::int32_t key = -1;
    int owner = 0;
    bool isPrivate = false;
    int priority = 0;
    QDate anniversary; // invalid: none
    QDate birthday;    // invalid: none
    int comDisplay = 0;
    // Every text field at its index; the entries of the fields above stay empty.
    QVector<QString> texts = QVector<QString>(kFieldCount);
    // The list title; it lives in the sealed title only, not in the blob.
    QString fileAs;
    // Primary first; none is "Unfiled".
    QVector<int> categories;

    const QString& slot(int s) const { return texts[kFirstSlot + s]; }
    int primaryCategory() const { return categories.isEmpty() ? 0 : categories.first(); }
};

QByteArray ContactBlob(const Contact& contact);
// The fields of a deciphered blob into `contact`; false, with `contact` untouched, for an empty blob.
bool DecodeContactBlob(const QByteArray& blob, Contact& contact);

// The list's second column: the primary slot's value, two blanks and its label in brackets; empty when that
// slot is empty.
QString PrimaryContact(const Contact& contact);

// The mail address in a text: the run of letters, digits, "_", "-" and "." on both sides of its first "@";
// empty when either side is empty.
QString MailAddressIn(const QString& text);
// The plain text of fT3: one byte counting the addresses of the mail slots, then the addresses joined by ";".
// Without one the count 0 is followed by 9 to 16 random bytes, so that the cell's length tells nothing.
QByteArray MailList(const Contact& contact, RandomSource& random);

// fT5: the category numbers separated by blanks, primary first.
QByteArray CategoryColumn(const QVector<int>& categories);
// The categories of a row: the numbers of fT5, or, with fT5 empty, fG1 when it is above 0.
QVector<int> CategoriesOfRow(const QByteArray& fT5, std::int64_t fG1);

// The contact `key`. Another section's row gives message 16; a missing row or a blob that does not decode
// message 31.
std::optional<Contact> LoadContact(Store& store, std::int32_t key, Result* result = nullptr);
// Stores the contact and its plain columns; a contact without a title to list is refused with message 15.
Result StoreContact(Store& store, Contact& contact);
Result DeleteContact(Store& store, std::int32_t key);

// Deleting all is for the administrator.
bool MayDeleteAll(const Store& store);
// Whether deleting in `category` deletes every contact: it does unless only a real category is asked for.
bool DeletesEverything(bool onlyCategory, int category);
// The contacts filed first in `category`, or all of them with the section's category lists; message 250 for
// anyone but the administrator.
Result DeleteAllContacts(Store& store, bool onlyCategory, int category);

// Drops the numbers of categories that no longer exist from the reader's own contacts.
Result RefreshCategories(Store& store);

// How Find searches the section's records and lists a hit.
find::SearchableSection Searchable();

} // namespace contacts
