#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace qnm::run {

/// Which of several processes this one is, as those that start them tell it.
class Rank {
public:
    Rank();
    bool is_one_of_several() const { return !number_.empty() && !count_.empty() && count_ != "1"; }
    /// 0 where nobody tells it.
    std::string number() const { return number_.empty() ? "0" : number_; }
    /// "process 1 of 3: "; empty elsewhere.
    std::string heading() const;

private:
    std::string number_, count_;
};

/// The name of a file with its marks replaced: %p, %r, %%. Without marks, one of several processes has its
/// rank behind the name. Throws Refusal with status 125 for another mark.
std::string expanded(const std::string& name, int process, const Rank& rank);

/// A file that a user asked for, or standard error.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Standard error if the name is empty. Throws Refusal with status 125.
    void open(const std::string& name, int process, const Rank& rank);
    void write(std::string_view text);
    void flush();
    /// In a file in place of what was there; elsewhere behind it.
    void write_anew(std::string_view text);
    /// Why not all was written; empty if all was, or nothing was opened.
    std::string close();

private:
    std::string name_;
    std::FILE* file_ = nullptr;
    int error_ = 0; // of the first failure
};

} // namespace qnm::run
