// Threads for the parts of one call. They wait asleep, and nobody waits for one that is not awake: on a
// machine that has other work a call takes hardly longer than by one thread.
#pragma once

namespace qnm::core {

/// Calls part(context, k) once for each k below `parts`, here and on other threads, and returns when all have
/// returned.
void in_parts(int parts, void (*part)(void* context, int k), void* context);

template <class Part>
void in_parts(int parts, Part part)
{
    in_parts(
        parts, [](void* context, int k) { (*static_cast<Part*>(context))(k); }, &part);
}

} // namespace qnm::core
