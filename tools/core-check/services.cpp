#include "services.hpp"

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <qnm/core/services.h>

namespace qnm::core_check {

namespace {

#define QNM_SERVICE(core, name) reinterpret_cast<decltype(&(name))>(dlsym(core, #name))
#define QNM_EXPECT(...)                                                                                      \
    if (!(__VA_ARGS__))                                                                                      \
    return "not true: " #__VA_ARGS__

bool is_aligned(const void* block, int alignment)
{
    return block != nullptr &&
           reinterpret_cast<std::uintptr_t>(block) % static_cast<unsigned>(alignment) == 0;
}

std::string memory(void* core)
{
    const auto malloc = QNM_SERVICE(core, qnm_serv_malloc);
    const auto release = QNM_SERVICE(core, qnm_serv_free);
    const auto allocate = QNM_SERVICE(core, qnm_serv_allocate);
    const auto deallocate = QNM_SERVICE(core, qnm_serv_deallocate);
    for (const int alignment : {64, 128, 4096}) {
        void* const one = malloc(100, alignment);
        void* const other = allocate(100, alignment);
        QNM_EXPECT(is_aligned(one, alignment) && is_aligned(other, alignment));
        std::memset(one, 1, 100);
        std::memset(other, 2, 100);
        QNM_EXPECT(static_cast<char*>(one)[99] == 1);
        release(one);
        deallocate(other);
    }
    QNM_EXPECT(malloc(SIZE_MAX / 2, 64) == nullptr && allocate(SIZE_MAX / 2, 64) == nullptr);
    release(nullptr);
    deallocate(nullptr);
    return {};
}

std::string text(void* core)
{
    const auto lsame = QNM_SERVICE(core, qnm_serv_lsame);
    const auto length = QNM_SERVICE(core, qnm_serv_strnlen_s);
    const auto format = QNM_SERVICE(core, qnm_serv_snprintf_s);
    const auto format_all = QNM_SERVICE(core, qnm_serv_sprintf_s);
    QNM_EXPECT(lsame("n", "N", 1, 1) == 1 && lsame("T", "N", 1, 1) == 0);
    QNM_EXPECT(length("four", 10) == 4 && length("four", 2) == 2);
    char room[8] = "ab";
    QNM_SERVICE(core, qnm_serv_strncat_s)(room, sizeof room, "cdef", 2);
    QNM_EXPECT(std::strcmp(room, "abcd") == 0);
    QNM_EXPECT(format(room, sizeof room, 7, "%d %s", 12, "x") == 4 && std::strcmp(room, "12 x") == 0);
    QNM_EXPECT(format_all(room, 4, "%s", "longer than that") == -1 && std::strlen(room) < 4);
    return {};
}

std::string trace(void* core)
{
    const auto mode = QNM_SERVICE(core, qnm_serv_verbose_mode);
    const auto file_mode = QNM_SERVICE(core, qnm_serv_verbose_output_file_mode);
    const auto clock = QNM_SERVICE(core, qnm_serv_dsecnd);
    QNM_EXPECT(mode() != nullptr && mode() == mode());
    QNM_EXPECT(file_mode() != nullptr && file_mode() == file_mode());
    const double first = clock();
    QNM_EXPECT(clock() >= first);
    return {};
}

int reports = 0;
void note_report(const char* name, const int* info, int length)
{
    reports += std::strncmp(name, "DGEMM ", 6) == 0 && *info == 3 && length == 6 ? 1 : 100;
}
void note_by_chain(const char*, const int*, int)
{
    reports += 10;
}

std::string errors(void* core)
{
    const auto report = QNM_SERVICE(core, qnm_serv_xerbla);
    const auto set_handler = QNM_SERVICE(core, qnm_serv_set_xerbla);
    const int info = 3;
    QNM_SERVICE(core, qnm_serv_set_xerbla_interface)(note_by_chain);
    report("DGEMM ", &info, 6);
    QNM_EXPECT(reports == 10);
    QNM_EXPECT(set_handler(note_report) == nullptr);
    report("DGEMM ", &info, 6);
    QNM_EXPECT(reports == 11);
    QNM_EXPECT(set_handler(nullptr) == note_report);
    report("DGEMM ", &info, 6);
    QNM_EXPECT(reports == 21);
    return {};
}

} // namespace

const std::vector<Trial>& service_trials()
{
    static const std::vector<Trial> all{
        {"memory", memory}, {"text", text}, {"trace", trace}, {"errors", errors}};
    return all;
}

} // namespace qnm::core_check
