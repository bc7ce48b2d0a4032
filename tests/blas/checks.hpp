// What a check says of a call, heard through both of its doors.
#pragma once

#include "support/sample_call.hpp"

namespace qnm::tests {

/// All entries of the checked class.
std::vector<const Entry*> checked_entries();

/// Runs the exported check and then the entry. Both have to agree: one report of this routine's fixed name
/// and the code, or none; the core called or not. Returns the code, 0 for a good call.
int judged(const SampleCall& call);

/// The arguments that have a test, in the order of testing: as published, but that a group batch tests its
/// number of groups first, and a strided batch leading dimensions ahead of strides.
std::vector<const Argument*> testing_order(const Entry& entry);

/// What has to be there for the search to come as far as this argument. The orders of operands are computed
/// ahead of all tests, in group batches as they are needed.
std::set<std::string> read_up_to(const Entry& entry, const Argument& last);

/// The argument made bad by as little as there is: a letter outside, one below the bound, an increment of
/// zero.
SampleCall& spoil(SampleCall& call, const Argument& argument, int group = 0);

/// The fixed name of reports: six characters at least, one blank behind a longer one, but for eight.
std::string reported_name(const Entry& entry);

/// A combination of good letters for all arguments that have a test of letters, for each combination.
void for_each_letters(const Entry& entry, const std::function<void(const SampleCall&)>& visit);

} // namespace qnm::tests
