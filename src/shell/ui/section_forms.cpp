#include "shell/ui/section_forms.h"

#include <QLabel>
#include <QVBoxLayout>

void SectionForms::add(SectionId id, Factory factory) {
    m_factories[sections::Number(id)] = std::move(factory);
}

QWidget* SectionForms::create(int section, Session& session, QWidget* parent) const {
    if (const auto it = m_factories.find(section); it != m_factories.end()) {
        return it->second(session, parent);
    }
    auto* form = new QWidget(parent);
    const SectionInfo* info = sections::Find(section);
    form->setObjectName(info != nullptr ? QLatin1String(info->formName) : QLatin1String());
    form->setWindowTitle(sections::Name(section));
    auto* layout = new QVBoxLayout(form);
    auto* title = new QLabel(sections::Name(section), form);
    title->setObjectName(QStringLiteral("lblSection"));
    title->setAlignment(Qt::AlignCenter);
    QFont font = title->font();
    font.setPointSizeF(font.pointSizeF() * 2);
    font.setBold(true);
    title->setFont(font);
    layout->addWidget(title);
    return form;
}
