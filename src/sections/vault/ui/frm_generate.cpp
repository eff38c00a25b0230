#include "sections/vault/ui/frm_generate.h"

#include "base/password_strength.h"
#include "shell/ui/named_control.h"
#include "store/cry.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

frmGenerate::frmGenerate(QWidget* parent)
    : QDialog(parent) {
    setObjectName(QStringLiteral("frmGenerate"));
    setModal(true);
    setWindowTitle(tr("Generate a password"));

    optCharacters = Named<QRadioButton>(this, QStringLiteral("optCharacters"));
    optCharacters->setText(tr("&Characters"));
    optCharacters->setChecked(true);
    txtLength = Named<QSpinBox>(this, QStringLiteral("txtLength"));
    txtLength->setRange(password_generator::kMinLength, password_generator::kMaxLength);
    txtLength->setValue(password_generator::Options{}.length);
    chkLower = Named<QCheckBox>(this, QStringLiteral("chkLower"));
    chkLower->setText(tr("Lowercase letters (a-z)"));
    chkUpper = Named<QCheckBox>(this, QStringLiteral("chkUpper"));
    chkUpper->setText(tr("Uppercase letters (A-Z)"));
    chkDigits = Named<QCheckBox>(this, QStringLiteral("chkDigits"));
    chkDigits->setText(tr("Digits (0-9)"));
    chkSymbols = Named<QCheckBox>(this, QStringLiteral("chkSymbols"));
    chkSymbols->setText(tr("Symbols (!#$%...)"));
    for (QCheckBox* box : {chkLower, chkUpper, chkDigits, chkSymbols}) {
        box->setChecked(true);
    }
    chkLookAlike = Named<QCheckBox>(this, QStringLiteral("chkLookAlike"));
    chkLookAlike->setText(tr("Avoid look-alike characters"));
    chkLookAlike->setToolTip(tr("Leaves out 0 O o, 1 l I i L | !, 5 S, 2 Z and 8 B"));
    optWords = Named<QRadioButton>(this, QStringLiteral("optWords"));
    optWords->setText(tr("&Words"));
    txtWords = Named<QSpinBox>(this, QStringLiteral("txtWords"));
    txtWords->setRange(password_generator::kMinWords, password_generator::kMaxWords);
    txtWords->setValue(5);
    txtPreview = Named<QLineEdit>(this, QStringLiteral("txtPreview"));
    txtPreview->setReadOnly(true);
    txtPreview->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    txtPreview->setMinimumWidth(360);
    lblEntropy = Named<QLabel>(this, QStringLiteral("lblEntropy"));
    cmdRegenerate = Named<QPushButton>(this, QStringLiteral("cmdRegenerate"));
    cmdRegenerate->setText(tr("&Regenerate"));
    cmdRegenerate->setAutoDefault(false);

    auto* buttons = new QDialogButtonBox(this);
    cmdOK = buttons->addButton(tr("OK"), QDialogButtonBox::AcceptRole);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdEsc = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    cmdEsc->setObjectName(QStringLiteral("cmdEsc"));

    auto* grid = new QGridLayout;
    grid->addWidget(optCharacters, 0, 0);
    auto* length = new QHBoxLayout;
    length->addWidget(new QLabel(tr("Length:"), this));
    length->addWidget(txtLength);
    length->addStretch();
    grid->addLayout(length, 0, 1);
    grid->addWidget(chkLower, 1, 1);
    grid->addWidget(chkUpper, 2, 1);
    grid->addWidget(chkDigits, 3, 1);
    grid->addWidget(chkSymbols, 4, 1);
    grid->addWidget(chkLookAlike, 5, 1);
    grid->addWidget(optWords, 6, 0);
    auto* words = new QHBoxLayout;
    words->addWidget(new QLabel(tr("Number of words:"), this));
    words->addWidget(txtWords);
    words->addStretch();
    grid->addLayout(words, 6, 1);
    auto* preview = new QHBoxLayout;
    preview->addWidget(txtPreview, 1);
    preview->addWidget(cmdRegenerate);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addSpacing(8);
    layout->addLayout(preview);
    layout->addWidget(lblEntropy);
    layout->addWidget(buttons);

    for (QCheckBox* box : {chkLower, chkUpper, chkDigits, chkSymbols, chkLookAlike}) {
        connect(box, &QCheckBox::toggled, this, &frmGenerate::settingsChanged);
    }
    connect(optCharacters, &QRadioButton::toggled, this, &frmGenerate::settingsChanged);
    connect(txtLength, &QSpinBox::valueChanged, this, &frmGenerate::settingsChanged);
    connect(txtWords, &QSpinBox::valueChanged, this, &frmGenerate::settingsChanged);
    connect(cmdRegenerate, &QPushButton::clicked, this, &frmGenerate::cmdRegenerate_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmGenerate::cmdOK_Click);
    connect(cmdEsc, &QPushButton::clicked, this, &QDialog::reject);
    settingsChanged();
}

frmGenerate::~frmGenerate() {
    txtPreview->clear();
    CRY::WipeText(m_value);
}

QString frmGenerate::takeValue() {
    return std::exchange(m_value, QString());
}

password_generator::Options frmGenerate::options() const {
    password_generator::Options o;
    o.length = txtLength->value();
    o.lower = chkLower->isChecked();
    o.upper = chkUpper->isChecked();
    o.digits = chkDigits->isChecked();
    o.symbols = chkSymbols->isChecked();
    o.avoidLookAlike = chkLookAlike->isChecked();
    o.words = optWords->isChecked() ? txtWords->value() : 0;
    return o;
}

void frmGenerate::settingsChanged() {
    const bool characters = optCharacters->isChecked();
    const QList<QCheckBox*> classes{chkLower, chkUpper, chkDigits, chkSymbols};
    const auto ticked = std::count_if(classes.begin(), classes.end(), [](QCheckBox* box) { return box->isChecked(); });
    // The last ticked class cannot be unticked: a password needs characters of some kind.
    for (QCheckBox* box : classes) {
        box->setEnabled(characters && !(ticked == 1 && box->isChecked()));
        box->setToolTip(box->isEnabled() || !characters ? QString() : tr("At least one kind of character is needed"));
    }
    txtLength->setEnabled(characters);
    chkLookAlike->setEnabled(characters);
    txtWords->setEnabled(!characters);
    lblEntropy->setText(
        password_strength::Describe(password_strength::FromBits(password_generator::EntropyBits(options()))));
    cmdRegenerate_Click();
}

void frmGenerate::cmdRegenerate_Click() {
    txtPreview->setText(password_generator::Generate(options()));
}

void frmGenerate::cmdOK_Click() {
    m_value = txtPreview->text();
    txtPreview->clear();
    accept();
}
