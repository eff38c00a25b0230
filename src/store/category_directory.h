#pragma once

#include "store/sqlite.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

// Which rows of a section are filed under which category, kept in memory while the file is open. The file's
// indexes are fixed by its format and none covers the category, so without this every category's list reads all
// rows of its section to find its own few; with it only the first list does. The connection's write log keeps it
// true: rows written through the connection are read again before the next answer, and anything the log cannot
// account for starts it over.
class CategoryDirectory {
public:
    struct Entry {
        std::int64_t key = 0;
        int category = 0;
    };

    // The keys of the rows with fSec = `section` and fG1 = `category`, ascending; nullopt while the section has
    // not been read (or on an engine error, in `error`): then the caller walks the section and hands what it
    // read to adopt().
    std::optional<std::vector<std::int64_t>> keys(sqlite::Connection& connection, int section, int category,
                                                  sqlite::Error* error);
    // Every row of `section` with its category, ascending by key, read since the last keys() with nothing
    // written in between.
    void adopt(int section, std::vector<Entry> rows);

private:
    sqlite::Error catchUp(sqlite::Connection& connection);

    std::map<int, std::vector<Entry>> m_sections;
};
