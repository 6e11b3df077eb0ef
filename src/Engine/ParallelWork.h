#pragma once

#include <functional>

// Does work(0) ... work(count - 1), many of them at a time, in no order, on threads of its own and on the caller's.
// Returns when all are done. Meant for work that waits rather than computes: stopping a probe waits for its step, which
// may be asleep for up to a second, and thousands of such waits one after another would take minutes.
//
// Should threads be refused, fewer do the work, at the least the caller alone.
void doInParallel(int count, const std::function<void(int)>& work);
