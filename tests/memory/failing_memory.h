// Memory that can be told to run out, for this program and every library that it uses but the
// system's own.
#pragma once

namespace velmora::testing {

// From now on allocations are counted, of all threads together: the one after `successes` fails,
// and all later ones if `forGood`.
void StartFailing(long successes, bool forGood);

// How many failed.
long StopFailing();

// Blocks that are allocated and not freed.
long CountLiveBlocks();

// To be called once more when libraries were loaded since.
void TakeOverAllocation();

}  // namespace velmora::testing
