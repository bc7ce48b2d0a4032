#include "output.hpp"

#include "refusal.hpp"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace qnm::run {

Rank::Rank()
{
    struct Variables {
        const char *number, *count;
    };
    // of a step alone: the script of a batch has SLURM_NTASKS too, and is one process
    for (const Variables& names : {Variables{"OMPI_COMM_WORLD_RANK", "OMPI_COMM_WORLD_SIZE"},
                                   {"PMI_RANK", "PMI_SIZE"},
                                   {"SLURM_PROCID", "SLURM_STEP_NUM_TASKS"}}) {
        const char *const number = std::getenv(names.number), *const count = std::getenv(names.count);
        if (number == nullptr)
            continue;
        number_ = number;
        count_ = count != nullptr ? count : "";
        return;
    }
}

std::string Rank::heading() const
{
    return is_one_of_several() ? "process " + number_ + " of " + count_ + ": " : "";
}

std::string expanded(const std::string& name, int process, const Rank& rank)
{
    std::string text;
    bool marked = false; // so that it differs by process
    for (std::size_t i = 0; i < name.size(); ++i) {
        if (name[i] != '%') {
            text += name[i];
            continue;
        }
        const char mark = i + 1 < name.size() ? name[++i] : '\0';
        if (mark != 'p' && mark != 'r' && mark != '%')
            throw Refusal(status_own_failure, name + ": expected %p, %r or %% in the name of a file");
        text += mark == 'p' ? std::to_string(process) : mark == 'r' ? rank.number() : "%";
        marked |= mark != '%';
    }
    return text + (!marked && rank.is_one_of_several() ? "." + rank.number() : "");
}

OutputFile::~OutputFile()
{
    close();
}

void OutputFile::open(const std::string& name, int process, const Rank& rank)
{
    if (name.empty()) {
        name_ = "standard error";
        file_ = stderr;
        return;
    }
    name_ = expanded(name, process, rank);
    file_ = std::fopen(name_.c_str(), "we");
    if (file_ == nullptr)
        throw Refusal(status_own_failure, name_ + ": " + std::strerror(errno));
}

void OutputFile::write(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), file_) < text.size() && error_ == 0)
        error_ = errno;
}

void OutputFile::flush()
{
    if (file_ != nullptr && std::fflush(file_) != 0 && error_ == 0)
        error_ = errno;
}

void OutputFile::write_anew(std::string_view text)
{
    if (file_ != stderr && std::fseek(file_, 0, SEEK_SET) == 0 && ftruncate(fileno(file_), 0) != 0 &&
        error_ == 0 && errno != EINVAL) // a device has no length
        error_ = errno;
    write(text);
    flush();
}

std::string OutputFile::close()
{
    flush();
    if (file_ != nullptr && file_ != stderr && std::fclose(file_) != 0 && error_ == 0)
        error_ = errno;
    file_ = nullptr;
    return error_ == 0 ? "" : name_ + " could not be written whole: " + std::strerror(error_);
}

} // namespace qnm::run
