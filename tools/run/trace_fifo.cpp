#include "trace_fifo.hpp"

#include "refusal.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qnm::run {

TraceFifo::TraceFifo()
{
    const char* temporary = std::getenv("TMPDIR");
    folder_ =
        std::string(temporary != nullptr && *temporary != '\0' ? temporary : "/tmp") + "/qnm-run.XXXXXX";
    if (mkdtemp(folder_.data()) == nullptr)
        throw Refusal(status_own_failure, folder_ + ": " + std::strerror(errno));
    path_ = folder_ + "/trace";
    // Reading end first: opening the writing end of a pipe that nobody reads would block.
    if (mkfifo(path_.c_str(), 0600) != 0 ||
        (reader_ = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)) < 0 ||
        (keeper_ = open(path_.c_str(), O_WRONLY | O_CLOEXEC)) < 0) {
        const std::string why = std::strerror(errno);
        release();
        throw Refusal(status_own_failure, path_ + ": " + why);
    }
    // A wider pipe lets the program run ahead of the reading; the kernel may refuse, which costs nothing.
    fcntl(reader_, F_SETPIPE_SZ, 1 << 20);
}

TraceFifo::~TraceFifo()
{
    release();
}

void TraceFifo::no_more_writers()
{
    if (keeper_ >= 0)
        close(keeper_);
    keeper_ = -1;
}

void TraceFifo::release()
{
    no_more_writers();
    if (reader_ >= 0)
        close(reader_);
    unlink(path_.c_str());
    rmdir(folder_.c_str());
}

} // namespace qnm::run
