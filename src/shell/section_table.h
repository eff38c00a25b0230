#pragma once

#include <QString>

#include <span>

// Every record section the program knows, and what the frame, the preferences and the command line need to know
// of it. Nothing else switches on a section's number.
enum class SectionId : int {
    Start = 0, // the start screen, no section
    Contacts = 11,
    Calendar = 12,
    Diary = 13,
    Memos = 14,
    Tasks = 15,
    Vault = 16,
    Budget = 17,
};

struct SectionInfo {
    SectionId id;
    int nameMessage;        // the section's name in the catalogue
    const char* formName;   // the class and object name of its form
    const char* icon;       // the icon key of its button
    const char* menuName;   // the frame menu that carries its commands while it is open; null for none
    int pinBit;             // its bit in the user's PIN mask; -1 when a PIN does not guard the whole section
    bool categories;        // its records are filed in categories
    const char* records;    // what its rows are, for reports
    const char* descriptor; // the field descriptor of its records; empty until the section keeps records
};

namespace sections {

constexpr int Number(SectionId id) {
    return static_cast<int>(id);
}

// Every section, in the order of the section bar.
std::span<const SectionInfo> Table();
// The entry of a section number; null for a number that is no section.
const SectionInfo* Find(int number);
const SectionInfo& Info(SectionId id);
// The section's name as the program shows it; empty for a number that is no section.
QString Name(int number);

} // namespace sections
