#include "sections/contacts/contact_pane.h"

#include "base/messages.h"
#include "shell/dates.h"

#include <array>

namespace contacts {

namespace {

constexpr int kRuleLength = 38;
constexpr int kUnfiledMessage = 66;
constexpr int kNoteMessage = 68;
constexpr int kCategoryMessage = 262;
constexpr int kPersonalLines = 9;

QString Rule() {
    return QString(kRuleLength, u'_');
}

QString JoinNonEmpty(const QStringList& parts, const QString& separator) {
    QStringList kept;
    for (const QString& part : parts) {
        if (!part.isEmpty()) {
            kept << part;
        }
    }
    return kept.join(separator);
}

QString DateText(const QDate& date) {
    return date.isValid() ? dates::ShortDate(date) : QString();
}

// The names of the categories in their filing order; numbers the list no longer holds are passed over.
QString CategoryNames(const QVector<int>& filed, const QString& categoryList) {
    const QStringList items = categoryList.split(u';');
    QStringList names;
    for (const int category : filed) {
        for (qsizetype i = 0; i + 1 < items.size(); i += 2) {
            if (items[i + 1].toInt() == category) {
                names << items[i];
                break;
            }
        }
    }
    return names.isEmpty() ? MsgText(kUnfiledMessage) : names.join(QStringLiteral(", "));
}

void AddAddresses(const Contact& contact, QVector<PaneLine>& lines) {
    struct Block {
        int label;
        int street;
    };
    for (const Block& block : {Block{56, HomeAddressStreet}, {58, BusinessAddressStreet}, {59, OtherAddressStreet}}) {
        const QString& street = contact.texts[block.street];
        const QString& city = contact.texts[block.street + 1];
        const QString& state = contact.texts[block.street + 2];
        const QString& postalCode = contact.texts[block.street + 3];
        const QString& country = contact.texts[block.street + 4];
        const QString cityLine =
            JoinNonEmpty({city, JoinNonEmpty({state, postalCode}, QStringLiteral(" "))}, QStringLiteral(", "));
        if (street.isEmpty() && cityLine.isEmpty() && country.isEmpty()) {
            continue;
        }
        lines.append({MsgText(block.label) + QStringLiteral("   :"), {}});
        for (const QString& line : {street, cityLine, country}) {
            if (!line.isEmpty()) {
                lines.append({{}, line});
            }
        }
    }
}

void AddPersonal(const Contact& contact, const QStringList& userLabels, QVector<PaneLine>& lines) {
    struct Personal {
        QString label;
        QString value;
    };
    // The user fields past the fourth stay off the pane; the editor shows them.
    const std::array<Personal, kPersonalLines> personal{{
        {MsgText(75), contact.texts[GovernmentIDNumber]},
        {MsgText(78), DateText(contact.birthday)},
        {MsgText(385), DateText(contact.anniversary)},
        {MsgText(76), contact.texts[Spouse]},
        {MsgText(77), contact.texts[Children]},
        {userLabels.value(0), contact.texts[User1]},
        {userLabels.value(1), contact.texts[User2]},
        {userLabels.value(2), contact.texts[User3]},
        {userLabels.value(3), contact.texts[User4]},
    }};
    for (const Personal& line : personal) {
        if (!line.value.isEmpty()) {
            lines.append({line.label + u':', u'\t' + line.value});
        }
    }
}

} // namespace

QString ContactPane::text() const {
    QString all;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (i > 0 && !all.endsWith(u'\n')) {
            all += u'\n';
        }
        all += lines[i].heading + lines[i].text;
    }
    return all;
}

ContactPane ShowContactPane(const Contact& contact, const QStringList& userLabels, const QString& categoryList) {
    ContactPane pane;
    const QString& title = contact.texts[Title];
    const QString& suffix = contact.texts[Suffix];
    pane.name = (title.trimmed().isEmpty() ? QString() : title + u' ') + contact.fileAs +
                (suffix.isEmpty() ? QString() : u' ' + suffix);

    QVector<PaneLine>& lines = pane.lines;
    bool company = false;
    for (const int field : {JobTitle, CompanyName, Department}) {
        if (!contact.texts[field].isEmpty()) {
            lines.append({{}, contact.texts[field]});
            company = true;
        }
    }
    if (company) {
        lines.append({Rule(), {}});
    }
    for (int slot = 0; slot < kShownSlots; ++slot) {
        if (!contact.slot(slot).isEmpty()) {
            lines.append({SlotLabel(slot) + u':', u'\t' + contact.slot(slot)});
        }
    }
    AddAddresses(contact, lines);
    AddPersonal(contact, userLabels, lines);
    if (!contact.texts[Notes].isEmpty()) {
        lines.append({MsgText(kNoteMessage) + u':', {}});
        lines.append({{}, contact.texts[Notes]});
    }
    lines.append({Rule(), {}});
    lines.append(
        {MsgText(kCategoryMessage) + u':', QStringLiteral("    ") + CategoryNames(contact.categories, categoryList)});
    return pane;
}

} // namespace contacts
