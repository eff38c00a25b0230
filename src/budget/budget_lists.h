#pragma once

#include "shell/list_entry.h"
#include "shell/section_table.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVector>

#include <cstdint>
#include <optional>

class Store;

// The user's budgets and payment modes: two enciphered rows per user, each a list of entries joined by the byte
// 255. The payment modes are shared by all budgets.
namespace budget {

constexpr int kBudgetSection = sections::Number(SectionId::Budget);
constexpr int kBudgetListSection = 9;
constexpr int kPayModeSection = 8;
constexpr int kMaxBudgets = 256;
constexpr int kMaxPayModeId = 32001;
// The mode every transaction without a stated (or with a deleted) mode falls back on; never stored.
constexpr int kPayModeNotStated = 0;
constexpr int kPayModeAll = -1;

struct BudgetList {
    QVector<std::uint8_t> ids;
    QStringList names;
    QVector<bool> showPrivate;
    QVector<bool> requestPin;

    int count() const { return static_cast<int>(ids.size()); }
    // The position of budget `id`, or -1.
    int indexOf(int id) const;
    void append(std::uint8_t id, const QString& name, bool showPriv, bool pin);
};

struct PayModes {
    QVector<std::int16_t> ids;
    QStringList names;

    int count() const { return static_cast<int>(ids.size()); }
};

// A name that would break the stored list (it holds the separator byte) is refused with this message.
bool NameFitsList(const QString& name);
QString NameRefusal();

// The plain texts of the rows, and their reading. Reading checks the user and the section byte and gives
// nothing for a text that fails.
QByteArray BudgetListText(std::int32_t user, const BudgetList& list);
std::optional<BudgetList> ParseBudgetList(std::int32_t user, const QByteArray& plain);
QByteArray PayModesText(std::int32_t user, const PayModes& modes);
std::optional<PayModes> ParsePayModes(std::int32_t user, const QByteArray& plain);

// The lists of the current user; on first use the defaults are written and read. Nothing on a row that fails
// its checks.
std::optional<BudgetList> LoadBudgets(Store& store);
std::optional<PayModes> LoadPayModes(Store& store);
BudgetList DefaultBudgets();
PayModes DefaultPayModes();
// Return 0 or the engine's error number.
int CreateDefaultBudgets(Store& store);
int CreateDefaultPayModes(Store& store);
int SaveBudgets(Store& store, const BudgetList& list);
int SavePayModes(Store& store, const PayModes& modes);

// The entries of a payment list: with `addAll` first "< All >" (-1) and "<N.S.>" (0), then the stored modes
// in stored order.
ListEntries PayModeEntries(const PayModes& modes, bool addAll);

// Files every transaction of the current user that names the mode `id` under "N.S." instead, at once.
// Returns the number of transactions changed, or a negative engine error number.
int RepairPayMode(Store& store, int id);

} // namespace budget
