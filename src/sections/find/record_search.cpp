#include "sections/find/record_search.h"

#include "store/cipher_workers.h"
#include "store/cry.h"
#include "store/record_get.h"
#include "store/store.h"

#include <QHash>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace find {
namespace {

// Rows handed to a worker at once; a selector's rows always go together.
constexpr std::size_t kRowsPerJob = 256;
// Jobs read ahead of the workers at most.
constexpr int kJobsAhead = 16;

// Read straight through the table rather than by the section index: a search mostly covers most of the file, and
// the first hits then show after one quick pass.
constexpr const char* kIndexColumns = "SELECT fPK, substr(fEtx,1,2) FROM tt WHERE +fSec IN (";
constexpr const char* kRowColumns = "SELECT fPK, fEtx, fSec, fSub, fR3, fF1, fF3, fT1, fT2 FROM tt WHERE fSec IN (";
constexpr const char* kRowByKey = "SELECT fPK, fEtx, fSec, fSub, fR3, fF1, fF3, fT1, fT2 FROM tt WHERE fPK=?";
constexpr Col kRead[] = {Col::fPK, Col::fEtx, Col::fSec, Col::fSub, Col::fR3, Col::fF1, Col::fF3, Col::fT1, Col::fT2};

void WipeFields(FieldValues& fields) {
    for (QVariant& value : fields) {
        if (value.typeId() == QMetaType::QString) {
            CRY::WipeText(*static_cast<QString*>(value.data()));
        }
    }
}

// Decides whether a deciphered record is a hit and describes it; shared by every worker, read only.
class Matcher {
public:
    Matcher(const Query& query, std::span<const SearchableSection> sections)
        : m_query(query)
        , m_case(query.caseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive) {
        for (const SearchableSection& section : sections) {
            if (query.sections.contains(section.section)) {
                m_sections.insert(section.section, &section);
            }
        }
    }

    QList<int> sections() const {
        QList<int> wanted;
        for (const int section : m_query.sections) {
            if (m_sections.contains(section) && !wanted.contains(section)) {
                wanted.append(section);
            }
        }
        return wanted;
    }

    // `blob` is the row's deciphered record, wiped here; `titles` opens what a hit lists of it.
    std::optional<Hit> match(QByteArray& blob, CRY& titles, const Row& row) const {
        const auto key = static_cast<std::int32_t>(row.integer(Col::fPK));
        const SearchableSection* section = m_sections.value(static_cast<int>(row.integer(Col::fSec)));
        std::optional<Hit> hit;
        if (section == nullptr) {
            CRY::WipeBytes(blob);
            return hit;
        }
        // Only what the person typed is searched: no field head, no number and no date can give a hit.
        const bool found = Record_Get::AnyText(blob, [&](int index, const QString& text) {
            return section->unsearchedFields.contains(index) || !text.contains(m_query.text, m_case);
        });
        if (found) {
            FieldValues fields;
            Record_Get::GetRecord(fields, blob);
            const bool isPrivate = section->alwaysPrivate || fields.value(1).toInt() == 1;
            if (fields.value(0).toInt() == m_query.owner && (m_query.showPrivate || !isPrivate)) {
                hit = section->describe(titles, row, fields);
                hit->section = section->section;
                hit->key = key;
            }
            WipeFields(fields);
        }
        CRY::WipeBytes(blob);
        return hit;
    }

private:
    const Query& m_query;
    Qt::CaseSensitivity m_case;
    QHash<int, const SearchableSection*> m_sections;
};

Row ReadRow(const sqlite::Statement& select) {
    Row row;
    for (int i = 0; i < static_cast<int>(std::size(kRead)); ++i) {
        row.setValue(kRead[i], select.value(i));
    }
    return row;
}

void BindSections(sqlite::Statement& select, const QList<int>& sections) {
    for (qsizetype i = 0; i < sections.size(); ++i) {
        select.bind(static_cast<int>(i + 1), static_cast<std::int64_t>(sections[i]));
    }
}

sqlite::Statement SelectRows(Store& store, const QList<int>& sections, const char* columns) {
    QByteArray sql = columns;
    for (qsizetype i = 0; i < sections.size(); ++i) {
        sql += i == 0 ? "?" : ",?";
    }
    sql += ")";
    sqlite::Statement select = store.connection().prepare(sql.constData());
    BindSections(select, sections);
    return select;
}

} // namespace

QString TitleIn(CRY& cry, const Row& row, Col column) {
    const std::optional<Record_Get::OpenedTitle> title =
        Record_Get::OpenTitleParts(cry, static_cast<std::int32_t>(row.integer(Col::fPK)), row.bytes(column));
    return title ? title->text : QString();
}

SearchableSection ListedByTitle(int section, TitleDetail detail) {
    SearchableSection searchable;
    searchable.section = section;
    searchable.describe = [detail = std::move(detail)](CRY& cry, const Row& row, const FieldValues&) {
        Hit hit;
        hit.item = TitleIn(cry, row, Col::fT1);
        hit.detail = detail(cry, row, hit.item);
        return hit;
    };
    return searchable;
}

bool SearchableText(const QString& text) {
    return QStringView(text).toUcs4().size() >= 2;
}

Outcome Search(Store& store, const Query& query, std::span<const SearchableSection> sections,
               const std::atomic<bool>& stop, const std::function<void(QVector<Hit>&& hits)>& found) {
    Outcome outcome;
    const Matcher matcher(query, sections);
    const QList<int> wanted = matcher.sections();
    if (wanted.isEmpty() || !SearchableText(query.text) || !store.cry.hasKeyPool()) {
        return outcome;
    }
    // First every row's key and selector, eight bytes a row; then the rows themselves in the order of their
    // selectors, a few jobs ahead of the workers, so that memory stays small however large the file.
    std::vector<std::uint64_t> order;
    {
        sqlite::Statement index = SelectRows(store, wanted, kIndexColumns);
        while (!stop.load(std::memory_order_relaxed) && index.step()) {
            const QByteArray head = index.bytes(1);
            if (head.size() == 2) {
                const std::uint64_t selector =
                    256U * static_cast<unsigned char>(head[0]) + static_cast<unsigned char>(head[1]);
                order.push_back(selector << 32 | static_cast<std::uint32_t>(index.int64(0)));
            }
        }
        if (index.error()) {
            outcome.failed = true;
            return outcome;
        }
    }
    std::sort(order.begin(), order.end());

    std::mutex handing;
    std::atomic<qsizetype> rowsDone = 0;
    std::atomic<qsizetype> schedules = 0;
    std::atomic<int> jobsPending = 0;
    const CRY::SecureBytes& pool = store.cry.KeyPool();
    const auto search = [&](std::shared_ptr<std::vector<Row>> job) {
        return [&, job = std::move(job)](CRY& cry) {
            // Titles of hits are opened with a cipher of their own, so that the rows keep their shared schedule.
            CRY titles;
            titles.setKeyPool(pool);
            QVector<Hit> hits;
            qsizetype done = 0;
            std::array<blowfish_lanes::Schedule, blowfish_lanes::kLanes> lanes;
            std::array<CRY::SecureBytes, blowfish_lanes::kLanes> keys;
            std::size_t at = 0;
            // A few selectors' groups at a time: their schedules are made together, then their rows opened.
            while (at < job->size() && !stop.load(std::memory_order_relaxed)) {
                std::array<std::size_t, blowfish_lanes::kLanes + 1> bounds{at};
                std::array<std::span<const std::uint8_t>, blowfish_lanes::kLanes> keyViews;
                std::size_t groups = 0;
                while (groups < blowfish_lanes::kLanes && at < job->size()) {
                    const int selector = CRY::Selector((*job)[at].bytes(Col::fEtx));
                    cry.SelectKey(selector);
                    keys[groups] = cry.RecordKey();
                    keyViews[groups] = keys[groups];
                    while (at < job->size() && CRY::Selector((*job)[at].bytes(Col::fEtx)) == selector) {
                        ++at;
                    }
                    bounds[++groups] = at;
                }
                blowfish_lanes::MakeSchedules(std::span(keyViews.data(), groups), lanes.data());
                for (std::size_t g = 0; g < groups; ++g) {
                    for (std::size_t i = bounds[g]; i < bounds[g + 1]; ++i) {
                        const Row& row = (*job)[i];
                        QByteArray blob = cry.OpenRecord(static_cast<std::int32_t>(row.integer(Col::fPK)),
                                                         row.bytes(Col::fEtx), lanes[g]);
                        if (std::optional<Hit> hit = matcher.match(blob, titles, row)) {
                            hits.append(std::move(*hit));
                        }
                    }
                    lanes[g].wipe();
                    CRY::WipeBytes(keys[g]);
                }
                done += static_cast<qsizetype>(at - bounds[0]);
                schedules += static_cast<qsizetype>(groups);
            }
            rowsDone += done;
            if (!hits.isEmpty()) {
                const std::lock_guard lock(handing);
                found(std::move(hits));
            }
            --jobsPending;
        };
    };

    sqlite::Statement read = store.connection().prepare(kRowByKey);
    {
        cipher_workers::JobQueue queue(pool);
        CRY helper;
        helper.setKeyPool(pool);
        std::size_t start = 0;
        while (start < order.size() && !stop.load()) {
            std::size_t end = std::min(start + kRowsPerJob, order.size());
            // A selector's rows all go to one job, so that they share one key schedule.
            while (end < order.size() && order[end] >> 32 == order[end - 1] >> 32) {
                ++end;
            }
            auto job = std::make_shared<std::vector<Row>>();
            job->reserve(end - start);
            for (std::size_t i = start; i < end && !stop.load(std::memory_order_relaxed); ++i) {
                read.reset();
                read.bind(1, static_cast<std::int64_t>(order[i] & 0xFFFFFFFFU));
                if (read.step()) {
                    job->push_back(ReadRow(read));
                } else if (read.error()) {
                    outcome.failed = true;
                    break;
                }
            }
            if (outcome.failed) {
                break;
            }
            // Far enough ahead, the reading thread deciphers too.
            while (jobsPending.load() >= kJobsAhead && !stop.load() && queue.runOne(helper)) {
            }
            ++jobsPending;
            queue.push(search(std::move(job)));
            start = end;
        }
        queue.finish();
    }
    outcome.rows = rowsDone.load();
    outcome.keySchedules = schedules.load();
    outcome.stopped = stop.load();
    return outcome;
}

QVector<Hit> SearchRowByRow(Store& store, const Query& query, std::span<const SearchableSection> sections) {
    const Matcher matcher(query, sections);
    QVector<Hit> hits;
    if (!SearchableText(query.text) || !store.cry.hasKeyPool()) {
        return hits;
    }
    CRY cry(store.random());
    cry.setKeyPool(store.cry.KeyPool());
    for (const int section : matcher.sections()) {
        sqlite::Statement select = SelectRows(store, {section}, kRowColumns);
        while (select.step()) {
            const Row row = ReadRow(select);
            QByteArray blob = cry.Cipher(static_cast<std::int32_t>(row.integer(Col::fPK)), 2, row.bytes(Col::fEtx));
            if (std::optional<Hit> hit = matcher.match(blob, cry, row)) {
                hits.append(std::move(*hit));
            }
        }
    }
    return hits;
}

void SortHits(QVector<Hit>& hits, const QList<int>& sectionOrder) {
    std::stable_sort(hits.begin(), hits.end(), [&](const Hit& a, const Hit& b) {
        const qsizetype sa = sectionOrder.indexOf(a.section);
        const qsizetype sb = sectionOrder.indexOf(b.section);
        if (sa != sb) {
            return sa < sb;
        }
        const int byItem = a.item.compare(b.item, Qt::CaseInsensitive);
        return byItem != 0 ? byItem < 0 : a.key < b.key;
    });
}

} // namespace find
