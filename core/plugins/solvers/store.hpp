// PARDISO's handles in files. A folder has one: a file of ours, and files of the engine's for each system,
// which that one names. It takes the place of an older one when all of them are there.
#pragma once

namespace qnm::core::solvers::store {

int write(void** pt, const char* folder) noexcept;
int read(void** pt, const char* folder) noexcept;
int remove(const char* folder) noexcept;

} // namespace qnm::core::solvers::store
