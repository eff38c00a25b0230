#include "store/file_hold.h"

#include <QFile>
#include <QSaveFile>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace db {
namespace {

sqlite::Error SystemError(const QString& path, int code) {
    return sqlite::Error{sqlite::kErrGeneral,
                         QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(code)))};
}

bool SameFile(int fd, const QString& path) {
    struct stat opened {};
    struct stat named {};
    return ::fstat(fd, &opened) == 0 && ::stat(QFile::encodeName(path).constData(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

FileHold::~FileHold() {
    release();
}

FileHold::FileHold(FileHold&& other) noexcept
    : m_fd(other.m_fd)
    , m_path(std::move(other.m_path)) {
    other.m_fd = -1;
    other.m_path.clear();
}

FileHold& FileHold::operator=(FileHold&& other) noexcept {
    if (this != &other) {
        release();
        m_fd = other.m_fd;
        m_path = std::move(other.m_path);
        other.m_fd = -1;
        other.m_path.clear();
    }
    return *this;
}

sqlite::Error FileHold::Refusal(const QString& path) {
    return sqlite::Error{sqlite::kErrLocked,
                         QStringLiteral("The file %1 is in use by another program, which holds it locked.").arg(path)};
}

sqlite::Error FileHold::Lock(int fd, const QString& path) {
    for (;;) {
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
            return {};
        }
        if (errno == EWOULDBLOCK) {
            return Refusal(path);
        }
        if (errno != EINTR) {
            return SystemError(path, errno);
        }
    }
}

sqlite::Error FileHold::Acquire(const QString& path, FileHold& hold) {
    if (hold.holds(path)) {
        return {};
    }
    // The name may pass to another file between the open and the lock; the lock counts only on the file the name
    // still gives once it is taken.
    for (int attempt = 0; attempt < 8; ++attempt) {
        const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            if (errno == ENOENT || errno == ENOTDIR) {
                return sqlite::Error{sqlite::kErrFileNotFound, QStringLiteral("Could not find file '%1'.").arg(path)};
            }
            return SystemError(path, errno);
        }
        if (const sqlite::Error e = Lock(fd, path)) {
            ::close(fd);
            return e;
        }
        if (SameFile(fd, path)) {
            hold = FileHold();
            hold.m_fd = fd;
            hold.m_path = path;
            return {};
        }
        ::close(fd);
    }
    return Refusal(path);
}

sqlite::Error FileHold::Create(const QString& path, FileHold& hold) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (errno == EEXIST) {
            return sqlite::Error{sqlite::kErrAlreadyExists, QStringLiteral("The file '%1' already exists.").arg(path)};
        }
        return SystemError(path, errno);
    }
    if (const sqlite::Error e = Lock(fd, path)) {
        ::close(fd);
        return e;
    }
    hold = FileHold();
    hold.m_fd = fd;
    hold.m_path = path;
    return {};
}

bool FileHold::HeldElsewhere(const QString& path) {
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const bool held = ::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    ::close(fd);
    return held;
}

bool FileHold::holds(const QString& path) const {
    return m_fd >= 0 && SameFile(m_fd, path);
}

void FileHold::release() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
    m_path.clear();
}

sqlite::Error FileHold::PutInPlace(const QString& source, const QString& target) {
    FileHold next;
    if (const sqlite::Error e = Acquire(source, next)) {
        return e;
    }
    if (std::rename(QFile::encodeName(source).constData(), QFile::encodeName(target).constData()) != 0) {
        return SystemError(target, errno);
    }
    next.m_path = target;
    *this = std::move(next);
    return {};
}

bool FileHold::CopyTo(const QString& target) const {
    if (m_fd < 0) {
        return false;
    }
    QSaveFile copy(target);
    if (!copy.open(QIODevice::WriteOnly) || ::fchmod(copy.handle(), 0600) != 0) {
        return false;
    }
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    for (off_t offset = 0;;) {
        const ssize_t n = ::pread(m_fd, chunk.data(), static_cast<size_t>(chunk.size()), offset);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0) {
            copy.cancelWriting();
            return false;
        }
        if (n == 0) {
            break;
        }
        if (copy.write(chunk.constData(), n) != n) {
            copy.cancelWriting();
            return false;
        }
        offset += n;
    }
    return copy.commit();
}

} // namespace db
