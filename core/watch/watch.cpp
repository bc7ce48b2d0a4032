#include "watch.hpp"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

#include "services/core.hpp"

namespace qnm::watch {
namespace {

/// A line that ends where its room does.
class Line {
public:
    [[gnu::format(printf, 2, 3)]] void add(const char* format, ...)
    {
        std::va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(text_ + size_, sizeof text_ - size_, format, arguments);
        va_end(arguments);
        size_ += static_cast<std::size_t>(length);
        if (size_ >= sizeof text_)
            size_ = sizeof text_ - 1;
    }
    const char* text() const { return text_; }
    std::size_t size() const { return size_; }

private:
    char text_[1024] = "";
    std::size_t size_ = 0;
};

template <class D>
void add_dimension(Line& line, const Shown& shown, int i)
{
    const D& d = static_cast<const D*>(shown.at)[i];
    line.add("%lld:%lld:%lld", static_cast<long long>(d.n), static_cast<long long>(d.is),
             static_cast<long long>(d.os));
}

void add(Line& line, const Shown& shown)
{
    line.add("%s=", shown.name);
    if (shown.at == nullptr)
        return line.add("null");
    constexpr int most = 8; // one more than a plan can have
    for (int i = 0; i < shown.count && i < most; ++i) {
        if (i > 0)
            line.add("x");
        switch (shown.of) {
        case Shown::Of::integers:
            line.add("%d", static_cast<const int*>(shown.at)[i]);
            break;
        case Shown::Of::dimensions:
            add_dimension<fftw::Dimension>(line, shown, i);
            break;
        case Shown::Of::narrow_dimensions:
            add_dimension<fftw::NarrowDimension>(line, shown, i);
            break;
        case Shown::Of::data:
            break;
        }
    }
    if (shown.count > most)
        line.add("x...");
}

/// Input and output stand in halves.
bool is_in_place(std::initializer_list<Shown> arguments)
{
    const void* arrays[4];
    int count = 0;
    for (const Shown& shown : arguments)
        if (shown.of == Shown::Of::data)
            arrays[count++] = shown.at;
    for (int i = 0; i < count / 2; ++i)
        if (arrays[i] != arrays[i + count / 2])
            return false;
    return count % 2 == 0;
}

const void* image_of(const void* address)
{
    Dl_info info{};
    return dladdr(address, &info) != 0 ? info.dli_fbase : nullptr;
}

} // namespace

void* Next::look_up(const char* name)
{
    void* const found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::fprintf(stderr, "QNM ERROR: libqnm_watch.so is loaded, and no library behind it has %s.\n",
                     name);
        std::abort();
    }
    found_.store(found, std::memory_order_relaxed);
    return found;
}

void refused(const void* planner, const void* return_address, const char* name,
             std::initializer_list<Shown> arguments)
{
    // A planner that ends in a jump to another has this library for its caller.
    const void* const caller = image_of(return_address);
    if (caller == image_of(planner) || caller == image_of(reinterpret_cast<const void*>(&refused)))
        return;
    const int before = errno;
    Line line;
    line.add("no plan: %s(", name);
    const char* between = "";
    for (const Shown& shown : arguments)
        if (shown.of != Shown::Of::data) {
            line.add("%s", between);
            add(line, shown);
            between = ",";
        }
    line.add(")%s", is_in_place(arguments) ? " in place" : "");

    static std::atomic<bool> told = false;
    if (!told.exchange(true)) {
        Line first;
        first.add("QNM WARNING: %s; null was returned. Others are told in a trace alone.\n", line.text());
        while (write(STDERR_FILENO, first.text(), first.size()) < 0 && errno == EINTR) {
        }
    }
    if (*qnm_serv_iface_verbose_mode() != 0)
        qnm_serv_iface_print_verbose_info(0, line.text(), -1); // a time that is not known
    errno = before;
}

} // namespace qnm::watch
