#pragma once

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

/// A pipe in the place of standard error, which nobody reads until `readToEnd`.
class UnreadPipe {
public:
    UnreadPipe()
    {
        if (::pipe2(mEnds, O_CLOEXEC) != 0)
            throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    ~UnreadPipe()
    {
        for (int& end : mEnds)
            closeEnd(end);
    }
    UnreadPipe(const UnreadPipe&) = delete;
    UnreadPipe& operator=(const UnreadPipe&) = delete;

    int readingEnd() const noexcept { return mEnds[0]; }
    int writingEnd() const noexcept { return mEnds[1]; }
    void closeWritingEnd() { closeEnd(mEnds[1]); }

    /// What comes until every writer has closed its end.
    std::string readToEnd() const
    {
        std::string text;
        char piece[65536];
        for (ssize_t size; (size = ::read(mEnds[0], piece, sizeof piece)) != 0;) {
            if (size > 0)
                text.append(piece, static_cast<std::size_t>(size));
            else if (errno != EINTR)
                break;
        }
        return text;
    }

private:
    static void closeEnd(int& end)
    {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
    int mEnds[2] { -1, -1 };
};

/// Standard error as another descriptor's file, for the length of a scope.
class StandardErrorAs {
public:
    explicit StandardErrorAs(int descriptor)
        : mSaved(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0))
    {
        ::dup2(descriptor, STDERR_FILENO);
    }
    ~StandardErrorAs()
    {
        ::dup2(mSaved, STDERR_FILENO);
        ::close(mSaved);
    }
    StandardErrorAs(const StandardErrorAs&) = delete;
    StandardErrorAs& operator=(const StandardErrorAs&) = delete;

private:
    const int mSaved;
};
