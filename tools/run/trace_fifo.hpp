#pragma once

#include <string>

namespace qnm::run {

/// A named pipe in a private folder, removed with the object. The traced processes open it by name
/// and append their lines; this side reads.
class TraceFifo {
public:
    TraceFifo();
    ~TraceFifo();
    TraceFifo(const TraceFifo&) = delete;
    TraceFifo& operator=(const TraceFifo&) = delete;

    const std::string& path() const { return path_; }
    /// Non-blocking reading end. It shows the end of the file only after no_more_writers(), when every
    /// process that had opened the pipe is gone.
    int reader() const { return reader_; }
    void no_more_writers();

private:
    void release();

    std::string folder_;
    std::string path_;
    int reader_ = -1;
    int keeper_ = -1;
};

} // namespace qnm::run
