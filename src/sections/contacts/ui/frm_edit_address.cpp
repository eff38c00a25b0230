#include "sections/contacts/ui/frm_edit_address.h"

#include "sections/categories/categories.h"
#include "sections/ui/category_filter.h"
#include "shell/options.h"
#include "shell/ui/date_prompt.h"
#include "shell/ui/list_controls.h"
#include "shell/ui/modal.h"
#include "shell/ui/named_control.h"
#include "store/store.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

using namespace contacts;

namespace {

// No preference chooses the order of a name yet.
constexpr NameOrder kNameOrder = NameOrder::LastFirst;

struct TextControl {
    int field;
    const char* name;
    const char* label;
};

constexpr TextControl kPersonColumn[] = {
    {Title, "Title", QT_TRANSLATE_NOOP("frmEditAddress", "Title:")},
    {FirstName, "FirstName", QT_TRANSLATE_NOOP("frmEditAddress", "First name:")},
    {MiddleName, "MiddleName", QT_TRANSLATE_NOOP("frmEditAddress", "Middle name:")},
    {LastName, "LastName", QT_TRANSLATE_NOOP("frmEditAddress", "Last name:")},
    {Suffix, "Suffix", QT_TRANSLATE_NOOP("frmEditAddress", "Suffix:")},
};
constexpr TextControl kWorkColumn[] = {
    {CompanyName, "CompanyName", QT_TRANSLATE_NOOP("frmEditAddress", "Company:")},
    {Department, "Department", QT_TRANSLATE_NOOP("frmEditAddress", "Department:")},
    {JobTitle, "JobTitle", QT_TRANSLATE_NOOP("frmEditAddress", "Job title:")},
    {Profession, "Profession", QT_TRANSLATE_NOOP("frmEditAddress", "Profession:")},
};

// In the order of the ctlAddress options, as AddressFields counts them.
constexpr const char* kAddressSetNames[kAddressSets] = {"Home", "Business", "Other"};
constexpr const char* kAddressSetLabels[kAddressSets] = {QT_TRANSLATE_NOOP("frmEditAddress", "Home"),
                                                         QT_TRANSLATE_NOOP("frmEditAddress", "Business"),
                                                         QT_TRANSLATE_NOOP("frmEditAddress", "Other")};
constexpr const char* kAddressParts[] = {"Street", "City", "State", "PostalCode", "Country"};
constexpr const char* kAddressPartLabels[] = {
    QT_TRANSLATE_NOOP("frmEditAddress", "Street:"), QT_TRANSLATE_NOOP("frmEditAddress", "City:"),
    QT_TRANSLATE_NOOP("frmEditAddress", "State:"), QT_TRANSLATE_NOOP("frmEditAddress", "Postal code:"),
    QT_TRANSLATE_NOOP("frmEditAddress", "Country:")};

enum GenderOption { Male, Female, NoGender };

QLabel* Caption(QWidget* parent, const QString& name, const QString& text) {
    auto* label = Named<QLabel>(parent, name);
    label->setText(text);
    return label;
}

QDate DateIn(const QLineEdit* field) {
    return DateOfText(field->text(), QLocale()).value_or(QDate());
}

} // namespace

frmEditAddress::frmEditAddress(Store& store, const Contact& contact, QWidget* parent)
    : EditorDialog(store.prompter, parent)
    , m_store(store)
    , m_contact(contact)
    , m_rows(contact) {
    setObjectName(QStringLiteral("frmEditAddress"));
    setWindowTitle(tr("Contact"));
    m_tabs = Named<QTabWidget>(this, QStringLiteral("tabContact"));
    m_tabs->addTab(buildName(), tr("Name"));
    m_tabs->addTab(buildAddress(), tr("Address"));
    m_tabs->addTab(buildCom(), tr("Phone && Internet"));
    m_tabs->addTab(buildPersonal(), tr("Personal"));
    m_tabs->addTab(buildUser(), tr("User Defined"));
    m_tabs->addTab(buildNotes(), tr("Note"));
    body()->addWidget(m_tabs, 1);
    buildCategories();
    cmdOK->setText(tr("OK"));
    cmdEsc->setText(tr("Esc"));

    for (const auto& [field, edit] : m_texts) {
        edit->setText(contact.texts[field]);
    }
    const QString gender = contact.texts[Gender].trimmed().toUpper();
    m_gender->button(gender == QStringLiteral("M")   ? Male
                     : gender == QStringLiteral("F") ? Female
                                                     : NoGender)
        ->setChecked(true);
    m_birthday->setText(DateText(contact.birthday, QLocale()));
    m_anniversary->setText(DateText(contact.anniversary, QLocale()));
    // Ticked while the calendar holds the date an earlier save wrote, so that saving again keeps it in step.
    const auto inCalendar = [&](const QDate& date, YearlyDate which) {
        return date.isValid() && !contact.fileAs.isEmpty() &&
               FindYearlyEvent(store, date, YearlySubject(contact.fileAs, which)) != 0;
    };
    m_birthdayToCalendar->setChecked(inCalendar(contact.birthday, YearlyDate::Birthday));
    m_anniversaryToCalendar->setChecked(inCalendar(contact.anniversary, YearlyDate::Anniversary));
    updateCalendarBoxes();
    m_notes->setPlainText(contact.texts[Notes]);
    m_private->setChecked(contact.isPrivate);
    m_category->fill(contact.primaryCategory());
    m_chosen = contact.categories.mid(1);
    fillCategoryList();
    rebuildFileAs(contact.fileAs);

    // The first address set with anything in it.
    int shownSet = 0;
    for (int option = kAddressSets - 1; option >= 0; --option) {
        const std::array<int, 5> fields = AddressFields(option);
        if (std::any_of(fields.begin(), fields.end(), [&](int field) { return !contact.texts[field].isEmpty(); })) {
            shownSet = option;
        }
    }
    findChild<QRadioButton*>(QStringLiteral("ctlAddress%1").arg(shownSet))->setChecked(true);
    markLoaded();
    resize(640, sizeHint().height());
}

QLineEdit* frmEditAddress::textField(QWidget* page, int field, const QString& name) {
    auto* edit = Named<QLineEdit>(page, QStringLiteral("ctl") + name);
    m_texts.emplace_back(field, edit);
    return edit;
}

QWidget* frmEditAddress::buildName() {
    auto* page = Named<QWidget>(this, QStringLiteral("fraName"));
    auto* columns = new QHBoxLayout(page);
    const auto column = [&](const auto& controls) {
        auto* form = new QFormLayout;
        for (const TextControl& control : controls) {
            const QString name = QLatin1String(control.name);
            QLineEdit* edit = textField(page, control.field, name);
            form->addRow(Caption(page, QStringLiteral("lbl") + name, tr(control.label)), edit);
            if (control.field == FirstName || control.field == LastName || control.field == CompanyName) {
                connect(edit, &QLineEdit::editingFinished, this, [this] { rebuildFileAs(m_fileAs->currentText()); });
            }
            if (control.field == FirstName) {
                edit->setFocus();
            }
        }
        columns->addLayout(form, 1);
        return form;
    };
    column(kPersonColumn);
    m_fileAs = Named<QComboBox>(page, QStringLiteral("ctlFileAs"));
    m_fileAs->setEditable(false);
    column(kWorkColumn)->addRow(Caption(page, QStringLiteral("FileAs"), tr("File as:")), m_fileAs);
    return page;
}

QWidget* frmEditAddress::buildAddress() {
    auto* page = Named<QWidget>(this, QStringLiteral("fraAddress"));
    auto* options = new QHBoxLayout;
    auto* sets = new QButtonGroup(page);
    m_addressSets = Named<QStackedWidget>(page, QStringLiteral("stkAddress"));
    for (int option = 0; option < kAddressSets; ++option) {
        auto* button = Named<QRadioButton>(page, QStringLiteral("ctlAddress%1").arg(option));
        button->setText(tr(kAddressSetLabels[option]));
        sets->addButton(button, option);
        options->addWidget(button);
        auto* set = new QWidget(m_addressSets);
        auto* form = new QFormLayout(set);
        form->setContentsMargins(0, 0, 0, 0);
        const std::array<int, 5> fields = AddressFields(option);
        for (std::size_t part = 0; part < fields.size(); ++part) {
            const QString name = QLatin1String(kAddressSetNames[option]) + QStringLiteral("Address") +
                                 QLatin1String(kAddressParts[part]);
            form->addRow(Caption(set, QStringLiteral("lbl") + name, tr(kAddressPartLabels[part])),
                         textField(set, fields[part], name));
        }
        m_addressSets->addWidget(set);
    }
    options->addStretch();
    connect(sets, &QButtonGroup::idToggled, this, [this](int option, bool on) {
        if (on) {
            m_addressSets->setCurrentIndex(option);
        }
    });
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(options);
    layout->addWidget(m_addressSets);
    layout->addStretch();
    return page;
}

QWidget* frmEditAddress::buildCom() {
    auto* page = Named<QWidget>(this, QStringLiteral("fraCom"));
    auto* grid = new QGridLayout(page);
    grid->addWidget(Caption(page, QStringLiteral("Label1"), tr("Select Primary Contact")), 0, 2);
    auto* primary = new QButtonGroup(page);
    const QStringList labels = ComRows::ChooserLabels();
    for (int row = 0; row < kComRows; ++row) {
        auto* chooser = Named<QComboBox>(page, QStringLiteral("ctlComLabel%1").arg(row));
        chooser->addItems(labels);
        chooser->setCurrentIndex(m_rows.slotOf(row));
        auto* value = Named<QLineEdit>(page, QStringLiteral("ctlCom%1").arg(row));
        value->setText(m_rows.value(row));
        m_com[static_cast<std::size_t>(row)] = value;
        auto* display = Named<QRadioButton>(page, QStringLiteral("ctlComDisplay%1").arg(row));
        display->setChecked(row == m_rows.primaryRow());
        primary->addButton(display, row);
        grid->addWidget(chooser, row + 1, 0);
        grid->addWidget(value, row + 1, 1);
        grid->addWidget(display, row + 1, 2, Qt::AlignCenter);

        connect(value, &QLineEdit::textEdited, this, [this, row](const QString& text) {
            m_rows.setValue(row, text);
            for (int other = 0; other < kComRows; ++other) {
                if (other != row && m_rows.slotOf(other) == m_rows.slotOf(row)) {
                    m_com[static_cast<std::size_t>(other)]->setText(text);
                }
            }
        });
        // What was typed stays with the slot it was typed into; the row shows its new slot's value.
        connect(chooser, &QComboBox::currentIndexChanged, this, [this, row](int slot) {
            m_rows.chooseSlot(row, slot);
            m_com[static_cast<std::size_t>(row)]->setText(m_rows.value(row));
        });
    }
    connect(primary, &QButtonGroup::idToggled, this, [this](int row, bool on) {
        if (on) {
            m_rows.setPrimaryRow(row);
        }
    });
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(kComRows + 1, 1);
    return page;
}

QWidget* frmEditAddress::buildPersonal() {
    auto* page = Named<QWidget>(this, QStringLiteral("fraPersonal"));
    const auto dateRow = [&](const QString& name, QLineEdit*& field, QCheckBox*& toCalendar, const QString& title) {
        field = Named<QLineEdit>(page, QStringLiteral("ctl") + name);
        auto* choose = Named<QToolButton>(page, QStringLiteral("cmd") + name);
        choose->setText(QStringLiteral("..."));
        choose->setToolTip(tr("Choose the date"));
        toCalendar = Named<QCheckBox>(page, QStringLiteral("chkAdd2Calendar") + name.front());
        toCalendar->setText(tr("Add to calendar"));
        connect(field, &QLineEdit::textChanged, this, &frmEditAddress::updateCalendarBoxes);
        connect(choose, &QToolButton::clicked, this, [this, edit = field, title] { askDate(edit, title); });
        auto* row = new QHBoxLayout;
        row->addWidget(field, 1);
        row->addWidget(choose);
        row->addWidget(toCalendar);
        return row;
    };
    m_gender = new QButtonGroup(page);
    auto* genders = new QHBoxLayout;
    const std::pair<const char*, QString> genderOptions[] = {
        {"ctlGenderM", tr("Male")}, {"ctlGenderF", tr("Female")}, {"ctlGenderNone", tr("Not given")}};
    for (int option = Male; option <= NoGender; ++option) {
        auto* button = Named<QRadioButton>(page, QLatin1String(genderOptions[option].first));
        button->setText(genderOptions[option].second);
        m_gender->addButton(button, option);
        genders->addWidget(button);
    }
    genders->addStretch();

    auto* form = new QFormLayout(page);
    form->addRow(Caption(page, QStringLiteral("lblGovernmentIDNumber"), tr("ID number:")),
                 textField(page, GovernmentIDNumber, QStringLiteral("GovernmentIDNumber")));
    form->addRow(Caption(page, QStringLiteral("lblBirthday"), tr("Birthday:")),
                 dateRow(QStringLiteral("Birthday"), m_birthday, m_birthdayToCalendar, tr("Birthday")));
    form->addRow(Caption(page, QStringLiteral("lblAnniversary"), tr("Anniversary:")),
                 dateRow(QStringLiteral("Anniversary"), m_anniversary, m_anniversaryToCalendar, tr("Anniversary")));
    form->addRow(Caption(page, QStringLiteral("lblSpouse"), tr("Spouse:")),
                 textField(page, Spouse, QStringLiteral("Spouse")));
    form->addRow(Caption(page, QStringLiteral("lblChildren"), tr("Children:")),
                 textField(page, Children, QStringLiteral("Children")));
    form->addRow(Caption(page, QStringLiteral("lblGender"), tr("Gender:")), genders);
    return page;
}

QWidget* frmEditAddress::buildUser() {
    auto* page = Named<QWidget>(this, QStringLiteral("fraUser"));
    auto* form = new QFormLayout(page);
    const QStringList labels = options::LoadUserFieldLabels(m_store);
    for (int i = 0; i < options::kUserFieldCount; ++i) {
        form->addRow(Caption(page, QStringLiteral("lblUserDef%1").arg(i + 1), labels.value(i)),
                     textField(page, User1 + i, QStringLiteral("User%1").arg(i + 1)));
    }
    return page;
}

QWidget* frmEditAddress::buildNotes() {
    auto* page = Named<QWidget>(this, QStringLiteral("fraNotes"));
    m_notes = Named<QPlainTextEdit>(page, QStringLiteral("ctlNotes"));
    m_notes->setTabChangesFocus(true);
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(m_notes);
    return page;
}

void frmEditAddress::buildCategories() {
    m_category = new CategoryPicker(m_store, kContactSection, QStringLiteral("cboCategory"), this);
    m_category->editButton->setToolTip(tr("Add or remove category"));
    m_private = Named<QCheckBox>(this, QStringLiteral("ctlPrivate"));
    m_private->setText(tr(" Private"));
    m_categoryList = Named<QListWidget>(this, QStringLiteral("lstCategories"));
    m_categoryList->setMaximumHeight(4 * fontMetrics().height() + 2 * m_categoryList->frameWidth());
    m_categoryNames = Named<QLabel>(this, QStringLiteral("txtCategories"));
    m_categoryNames->setWordWrap(true);

    auto* primary = new QHBoxLayout;
    primary->addWidget(m_category->combo, 1);
    primary->addWidget(m_category->editButton);
    primary->addSpacing(12);
    primary->addWidget(m_private);
    auto* form = new QFormLayout;
    form->addRow(Caption(this, QStringLiteral("lblCategory"), tr("Category:")), primary);
    form->addRow(Caption(this, QStringLiteral("lblOtherCategories"), tr("Also in:")), m_categoryList);
    form->addRow(Caption(this, QStringLiteral("labCategory"), tr("Categories:")), m_categoryNames);
    body()->addLayout(form);

    connect(m_category->combo, &QComboBox::currentIndexChanged, this, &frmEditAddress::showCategories);
    // Connected after the picker's own handler, so the list follows the categories it has just edited.
    connect(m_category->editButton, &QToolButton::clicked, this, &frmEditAddress::fillCategoryList);
    connect(m_categoryList, &QListWidget::itemChanged, this, &frmEditAddress::categoryTicked);
}

Contact frmEditAddress::typed() const {
    Contact contact = m_contact;
    for (const auto& [field, edit] : m_texts) {
        contact.texts[field] = edit->text();
    }
    contact.texts[Gender] = gender();
    contact.texts[Notes] = m_notes->toPlainText();
    m_rows.applyTo(contact);
    contact.birthday = DateIn(m_birthday);
    contact.anniversary = DateIn(m_anniversary);
    contact.isPrivate = m_private->isChecked();
    contact.categories = EditorCategories(m_category->selected(), m_chosen);
    contact.fileAs = m_fileAs->currentText();
    return contact;
}

QString frmEditAddress::gender() const {
    switch (m_gender->checkedId()) {
    case Male:
        return QStringLiteral("M");
    case Female:
        return QStringLiteral("F");
    default:
        return {};
    }
}

QVariantList frmEditAddress::values() const {
    const Contact contact = typed();
    QVariantList values;
    for (const QString& text : contact.texts) {
        values << text;
    }
    values << contact.comDisplay << contact.fileAs << contact.isPrivate << CategoryColumn(contact.categories)
           << m_birthday->text() << m_anniversary->text() << m_birthdayToCalendar->isChecked()
           << m_anniversaryToCalendar->isChecked();
    return values;
}

void frmEditAddress::rebuildFileAs(const QString& chosenBefore) {
    const FileAsChoice choice = RebuildFileAs(typed(), chosenBefore, kNameOrder);
    m_fileAs->clear();
    m_fileAs->addItems(choice.candidates);
    m_fileAs->setCurrentIndex(static_cast<int>(choice.candidates.indexOf(choice.chosen)));
}

void frmEditAddress::askDate(QLineEdit* field, const QString& title) {
    const modal::Scoped<DatePrompt> prompt(title, DateIn(field), this);
    if (prompt.exec() == QDialog::Accepted && prompt.get() != nullptr) {
        field->setText(DateText(prompt->date(), QLocale()));
    }
}

void frmEditAddress::updateCalendarBoxes() {
    const Preferences& settings = m_store.preferences;
    m_birthdayToCalendar->setEnabled(settings.Birthday2Calendar && DateIn(m_birthday).isValid());
    m_anniversaryToCalendar->setEnabled(settings.Anniversary2Calendar && DateIn(m_anniversary).isValid());
}

bool frmEditAddress::datesAreDates() {
    for (const auto& [field, what] :
         {std::pair{m_birthday, tr("birthday")}, std::pair{m_anniversary, tr("anniversary")}}) {
        if (!DateOfText(field->text(), QLocale())) {
            m_prompter.message(0,
                               tr("The %1 \"%2\" is not a date. Type it as %3, or leave the field empty.")
                                   .arg(what, field->text().trimmed(), DateText(QDate::currentDate(), QLocale())),
                               Prompter::Buttons::Ok, Prompter::Icon::Warning);
            m_tabs->setCurrentWidget(findChild<QWidget*>(QStringLiteral("fraPersonal")));
            field->setFocus();
            return false;
        }
    }
    return true;
}

void frmEditAddress::fillCategoryList() {
    const QSignalBlocker blocker(m_categoryList);
    m_categoryList->clear();
    ListEntries entries;
    categories::FillCategoryEntries(m_store, entries, kContactSection, {});
    list_controls::AddEntries(m_categoryList, entries);
    // A category deleted in the category editor files nothing any more.
    m_chosen.removeIf([&](int category) { return IndexOfItemData(entries, category) < 0; });
    for (int i = 0; i < m_categoryList->count(); ++i) {
        QListWidgetItem* item = m_categoryList->item(i);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(m_chosen.contains(list_controls::ItemData(m_categoryList, i)) ? Qt::Checked
                                                                                          : Qt::Unchecked);
    }
    showCategories();
}

void frmEditAddress::categoryTicked(QListWidgetItem* item) {
    const int category = item->data(Qt::UserRole).toInt();
    m_chosen.removeAll(category);
    if (item->checkState() == Qt::Checked) {
        m_chosen.append(category);
    }
    showCategories();
}

void frmEditAddress::showCategories() {
    const int primary = m_category->selected();
    const QVector<int> filed = EditorCategories(primary, m_chosen);
    QStringList names(filed.size());
    for (int i = 0; i < m_categoryList->count(); ++i) {
        const int category = list_controls::ItemData(m_categoryList, i);
        // The primary category is chosen above; the list offers the others.
        m_categoryList->item(i)->setHidden(category == primary);
        if (const qsizetype at = filed.indexOf(category); at >= 0) {
            names[at] = m_categoryList->item(i)->text().trimmed();
        }
    }
    m_categoryNames->setText(names.join(QStringLiteral(", ")));
}

bool frmEditAddress::accepted() {
    rebuildFileAs(m_fileAs->currentText());
    if (const Result check = CheckFileAs(m_fileAs->currentText()); !check.ok()) {
        reportFailure(check);
        m_tabs->setCurrentWidget(findChild<QWidget*>(QStringLiteral("fraName")));
        findChild<QLineEdit*>(QStringLiteral("ctlLastName"))->setFocus();
        return false;
    }
    if (!datesAreDates()) {
        return false;
    }
    Contact contact = typed();
    if (!agreesToCut(tr("note"), contact.texts[Notes])) {
        return false;
    }
    const CalendarRequest request{.birthday = m_birthdayToCalendar->isEnabled() && m_birthdayToCalendar->isChecked(),
                                  .anniversary =
                                      m_anniversaryToCalendar->isEnabled() && m_anniversaryToCalendar->isChecked()};
    if (const Result result = SaveContactFromEditor(m_store, m_contact, contact, request, QDate::currentDate());
        !result.ok()) {
        reportFailure(result);
        return false;
    }
    m_contact = contact;
    return true;
}
