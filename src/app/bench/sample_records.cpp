#include "app/bench/sample_records.h"

#include <QVector>

#include <cstdint>

namespace bench {

const std::array<const char*, 16> kMemoSubjects = {
    "Meeting notes %1",
    "Call back about the offer",
    "Recipe: lentil soup",
    "Ideas for %1",
    "Packing list",
    "Books to read",
    "Questions for the doctor",
    "Car service %1",
    "Gift ideas",
    "Garden plan for %1",
    "Project kick-off %1",
    "Shopping list",
    "Travel plan: Lisbon",
    "Café opening hours",
    "Minutes of the AGM %1",
    "To do before the move",
};

const std::array<const char*, 16> kTaskSubjects = {
    "Renew the passport",
    "Call the plumber",
    "Pay the electricity bill",
    "Send the quarterly report",
    "Book the dentist",
    "Prepare the slides for %1",
    "Reply to Anna about the offer",
    "Buy a birthday present",
    "Take the car to the garage",
    "File the tax return",
    "Review the contract",
    "Order printer ink",
    "Cancel the gym membership",
    "Plan the summer holiday",
    "Back up the laptop",
    "See the bank about the loan on %1",
};

const std::array<const char*, 12> kMemoSentences = {
    "Agreed to meet again in two weeks and to send the figures beforehand.",
    "Bring the signed copy of the contract and the receipts from March.",
    "The second option is cheaper but takes three weeks longer to deliver.",
    "Ask whether the warranty covers parts and labour or only parts.",
    "Phone number of the office: ask at reception for extension 214.",
    "Mix the flour with the butter first, then add the milk slowly.",
    "Remember to cancel the old subscription before the end of the quarter.",
    "The meeting room on the third floor is booked from nine to eleven.",
    "Check the tyre pressure and the oil level before the long drive.",
    "Prices went up by about eight per cent compared with last year.",
    "She suggested the small hotel near the station; breakfast is included.",
    "Nothing decided yet; wait for the answer from the committee.",
};

const std::array<const char*, 10> kDiarySentences = {
    "Woke up early and went for a walk along the river before work.",
    "Long day at the office; the new project plan is finally approved.",
    "Lunch with Anna, who told me about her trip to the mountains.",
    "Rain all afternoon, so I stayed in and read most of the novel.",
    "Called my parents in the evening; father's knee is much better.",
    "The children had their school concert and sang beautifully.",
    "Felt tired and a little low, went to bed before ten.",
    "Worked in the garden: the tomatoes need stakes this week.",
    "Dinner at the Italian place on the corner to celebrate.",
    "Sorted out the tax papers at last, a weight off my mind.",
};

namespace {

constexpr int kMobilePercent = 80;
constexpr int kMailPercent = 70;
constexpr int kHomePhonePercent = 30;
constexpr int kAddressPercent = 40;
constexpr int kContactNotePercent = 10;
constexpr int kBirthdayOneIn = 20;
constexpr int kVaultNotePercent = 25;
constexpr int kAlarmOneIn = 4;
constexpr int kAppointmentNotePercent = 30;

const std::array<const char*, 20> kVaultNames = {
    "Northwind",    "Bluebird Books", "Cityrail",     "Green Grocer",    "Harbour Bank", "Pixel Forum", "Sunny Travel",
    "Trail Outfit", "Town Library",   "Quick Parcel", "Open Source Hub", "Daily News",   "Photo Cloud", "Music Box",
    "Home Energy",  "Health Portal",  "Tax Office",   "Garden Centre",   "Chess Club",   "Car Share",
};

const std::array<const char*, 8> kVaultUsers = {
    "anna.miller", "amiller", "anna", "a.miller@example.org", "miller77", "annam", "family.miller", "4711",
};

const std::array<const char*, 32> kFirstNames = {
    "Anna",  "Ben",    "Clara",  "David",  "Emma",  "Felix", "Greta",  "Hugo",  "Ida",    "Jonas",  "Karin",
    "Lukas", "Maria",  "Noah",   "Olivia", "Paul",  "Rosa",  "Samuel", "Sofia", "Thomas", "Ursula", "Viktor",
    "Wendy", "Xavier", "Yvonne", "Zoe",    "Peter", "Laura", "Martin", "Julia", "Erik",   "Nora",
};

const std::array<const char*, 40> kLastNames = {
    "Miller", "Smith",     "Johnson", "Brown",    "Garcia", "Müller",   "Schmidt", "Fischer",  "Weber",   "Meyer",
    "Wagner", "Becker",    "Schulz",  "Hoffmann", "Koch",   "Richter",  "Klein",   "Wolf",     "Neumann", "Schwarz",
    "Rossi",  "Bianchi",   "Dubois",  "Laurent",  "Jansen", "de Vries", "Novak",   "Kowalski", "Nielsen", "Jørgensen",
    "Åberg",  "Lindqvist", "O'Brien", "Murphy",   "Walsh",  "Taylor",   "Wilson",  "Evans",    "Martin",  "Lopez",
};

const std::array<const char*, 8> kStreets = {
    "High Street", "Station Road",    "Church Lane", "Mill Road",
    "Park Avenue", "Victoria Street", "Elm Grove",   "Bridge Street",
};

const std::array<const char*, 8> kCities = {
    "Bristol", "Leeds", "York", "Bath", "Norwich", "Exeter", "Oxford", "Durham",
};

const std::array<const char*, 4> kMailDomains = {
    "example.org",
    "example.com",
    "mail.example.net",
    "post.example.co.uk",
};

const std::array<const char*, 16> kAppointmentSubjects = {
    "Team meeting",     "Dentist",     "Call with Anna",   "Project review", "Lunch with Paul", "Yoga",
    "Parents' evening", "Car service", "Budget planning",  "Haircut",        "Piano lesson",    "Interview",
    "Doctor",           "Book club",   "Flight to Lisbon", "Café with Jörg",
};

const std::array<const char*, 8> kAppointmentLocations = {
    "", "", "Room 3.14", "Main Street 12", "Online", "Town hall", "Office", "Gym",
};

const std::array<const char*, 6> kAppointmentNotes = {
    "Bring the signed copy of the contract.",
    "Ask about the invoice from March.",
    "Parking behind the building; the front entrance is closed.",
    "Agenda sent by mail the day before.",
    "Call if running late: extension 214.",
    "Prepare the figures for the second quarter.",
};

// What a kind of entry looks like: its text, its partner, the range of its amount in cents, and its kind.
struct Pattern {
    const char* description;
    const char* partner;
    int minCents;
    int maxCents;
    bool debit;
    bool numbered;
};

const std::array<Pattern, 20> kTransactionPatterns = {{
    {"Groceries", "Corner Market", 800, 12000, true, false},
    {"Weekly shop", "FreshWay Supermarket", 3000, 18000, true, false},
    {"Rent", "Hillside Properties Ltd", 85000, 95000, true, false},
    {"Electricity", "City Power & Light", 4000, 12000, true, true},
    {"Water bill", "Municipal Waterworks", 2000, 6000, true, true},
    {"Phone and internet", "Telecom North", 3500, 6500, true, true},
    {"Fuel", "Station 24", 3000, 8000, true, false},
    {"Train ticket", "Regional Rail", 250, 4500, true, false},
    {"Lunch", "Café Müller", 750, 2500, true, false},
    {"Dinner out", "Trattoria Bella", 2500, 12000, true, false},
    {"Pharmacy", "St. Mary's Pharmacy", 300, 4500, true, false},
    {"Books", "Page & Quill", 800, 6000, true, false},
    {"Insurance premium", "SafeHarbour Insurance", 6000, 25000, true, true},
    {"Gym membership", "FitLine Club", 2500, 4500, true, false},
    {"Birthday present", "", 1000, 10000, true, false},
    {"Salary", "Arden Engineering GmbH", 280000, 360000, false, false},
    {"Refund", "Online Outlet", 500, 15000, false, true},
    {"Interest", "Northbank", 10, 2500, false, false},
    {"Freelance invoice", "Kettering & Sons", 20000, 150000, false, true},
    {"Cash deposit", "", 2000, 50000, false, false},
}};

const std::array<const char*, 5> kTransactionNotes = {
    "Paid in two parts.",
    "Receipt filed in the blue folder.",
    "Split with the flatmate; half to be paid back by the end of the month.",
    "Check against the bank statement.\r\nThe first booking was reversed.",
    "Price went up this year; look for another offer before renewing.",
};

QString Password(std::mt19937& rng) {
    static const QLatin1String kCharacters("abcdefghijkmnopqrstuvwxyzABCDEFGHJKLMNPQRSTUVWXYZ23456789!$%&*+-_=?");
    QString password;
    for (int i = Between(rng, 8, 16); i > 0; --i) {
        password += kCharacters[Below(rng, static_cast<int>(kCharacters.size()))];
    }
    return password;
}

} // namespace

int Below(std::mt19937& rng, int n) {
    return static_cast<int>(rng() % static_cast<std::uint32_t>(n));
}

int Between(std::mt19937& rng, int low, int high) {
    return low + Below(rng, high - low + 1);
}

int MemoLength(std::mt19937& rng) {
    const int kind = Below(rng, 100);
    if (kind < 70) {
        return Between(rng, 100, 800);
    }
    return kind < 95 ? Between(rng, 800, 3000) : Between(rng, 3000, 12000);
}

int TaskPriority(std::mt19937& rng) {
    const int kind = Below(rng, 100);
    return kind < 20 ? tasks::High : kind < 80 ? tasks::Normal : tasks::Low;
}

contacts::Contact NewContact(std::mt19937& rng, int owner) {
    contacts::Contact contact;
    contact.owner = owner;
    contact.isPrivate = Below(rng, kPrivateOneIn) == 0;
    QVector<QString>& t = contact.texts;
    const int kind = Below(rng, 100);
    if (kind >= kCompanyOnlyPercent) {
        t[contacts::FirstName] = Pick(rng, kFirstNames);
        t[contacts::LastName] = Pick(rng, kLastNames);
        if (Below(rng, 100) < kMobilePercent) {
            t[contacts::MobileTelephoneNumber] =
                QStringLiteral("+44 7%1 %2").arg(Between(rng, 100, 999)).arg(Between(rng, 100000, 999999));
        }
        if (Below(rng, 100) < kMailPercent) {
            t[contacts::Email1Address] = QStringLiteral("%1.%2@%3")
                                             .arg(t[contacts::FirstName].toLower())
                                             .arg(Between(rng, 1, 999))
                                             .arg(Pick(rng, kMailDomains));
        }
        if (Below(rng, 100) < kHomePhonePercent) {
            t[contacts::HomeTelephoneNumber] =
                QStringLiteral("+44 1%1 %2").arg(Between(rng, 100, 999)).arg(Between(rng, 100000, 999999));
        }
        if (Below(rng, 100) < kAddressPercent) {
            t[contacts::HomeAddressStreet] = QStringLiteral("%1 %2").arg(Between(rng, 1, 200)).arg(Pick(rng, kStreets));
            t[contacts::HomeAddressCity] = Pick(rng, kCities);
            t[contacts::HomeAddressPostalCode] =
                QStringLiteral("AB%1 %2CD").arg(Between(rng, 1, 99)).arg(Between(rng, 1, 9));
        }
        if (Below(rng, kBirthdayOneIn) == 0) {
            contact.birthday = QDate(Between(rng, 1940, 2010), Between(rng, 1, 12), Between(rng, 1, 28));
        }
    }
    if (kind < kCompanyOnlyPercent + kWithCompanyPercent) {
        t[contacts::CompanyName] = Pick(rng, kVaultNames);
        t[contacts::BusinessTelephoneNumber] =
            QStringLiteral("+44 20 %1 %2").arg(Between(rng, 1000, 9999)).arg(Between(rng, 1000, 9999));
    }
    if (Below(rng, 100) < kContactNotePercent) {
        t[contacts::Notes] = Prose(rng, kMemoSentences, Between(rng, 40, 300));
    }
    contact.fileAs = FileAs(contact);
    for (const int field : {contacts::MobileTelephoneNumber, contacts::Email1Address, contacts::BusinessTelephoneNumber,
                            contacts::HomeTelephoneNumber}) {
        if (!t[field].isEmpty()) {
            contact.comDisplay = field - contacts::kFirstSlot;
            break;
        }
    }
    return contact;
}

QString FileAs(const contacts::Contact& contact) {
    const QVector<QString>& t = contact.texts;
    return t[contacts::LastName].isEmpty() ? t[contacts::CompanyName]
                                           : t[contacts::LastName] + QStringLiteral(", ") + t[contacts::FirstName];
}

vault::Entry NewVaultEntry(std::mt19937& rng, int owner, int subCategory, const QStringList& labels) {
    vault::Entry entry = vault::NewEntry(owner, subCategory);
    entry.isPrivate = Below(rng, kVaultOpenOneIn) != 0;
    for (qsizetype f = 0; f < labels.size(); ++f) {
        QString& value = entry.values[static_cast<std::size_t>(f)];
        if (f == 0) {
            value = QStringLiteral("%1 %2").arg(Pick(rng, kVaultNames)).arg(Between(rng, 1, 999));
        } else if (vault::IsPasswordLabel(labels[f])) {
            value = Password(rng);
        } else {
            value = Pick(rng, kVaultUsers);
        }
    }
    if (Below(rng, 100) < kVaultNotePercent) {
        entry.notes = Prose(rng, kMemoSentences, Between(rng, 40, 400));
    }
    return entry;
}

CALENDAR::Appointment NewAppointment(std::mt19937& rng, int owner, bool allDay) {
    CALENDAR::Appointment a;
    a.owner = owner;
    a.isPrivate = Below(rng, kPrivateOneIn) == 0;
    a.allDay = allDay;
    if (Below(rng, kAlarmOneIn) == 0) {
        const QVector<CALENDAR::AlarmChoice> choices = CALENDAR::AlarmChoices(allDay);
        a.alarmOn = true;
        a.alarmDelay = choices[Below(rng, static_cast<int>(choices.size()))].minutes;
    }
    a.subject = Pick(rng, kAppointmentSubjects);
    a.location = Pick(rng, kAppointmentLocations);
    if (Below(rng, 100) < kAppointmentNotePercent) {
        for (int i = Between(rng, 1, 4); i > 0; --i) {
            a.notes += Pick(rng, kAppointmentNotes) + u' ';
        }
        a.notes = a.notes.trimmed();
    }
    return a;
}

budget::Transaction NewTransaction(std::mt19937& rng, int owner, const QDate& date, int categories, int payModes) {
    const Pattern& p =
        kTransactionPatterns[static_cast<std::size_t>(Below(rng, static_cast<int>(kTransactionPatterns.size())))];
    // Category 0 ("Unfiled") is as likely as any named one.
    budget::Transaction t = budget::ClearTransaction(owner, Below(rng, categories + 1), date);
    t.description = QString::fromUtf8(p.description);
    if (p.numbered) {
        t.description += QStringLiteral(" %1-%2").arg(date.year()).arg(Below(rng, 900) + 100);
    }
    t.partner = QString::fromUtf8(p.partner);
    t.amount = Currency::FromUnits(static_cast<std::int64_t>(p.minCents + Below(rng, p.maxCents - p.minCents + 1)) *
                                   (Currency::kScale / 100));
    t.isPrivate = Below(rng, kPrivateOneIn) == 0;
    t.dcwb = (p.debit ? budget::kDebitBit : 0) | (t.isPrivate ? budget::kPrivateBit : 0);
    t.payMode = Below(rng, payModes);
    if (Below(rng, 7) == 0) {
        t.note = Pick(rng, kTransactionNotes);
        t.noteFlag = true;
    }
    return t;
}

} // namespace bench
