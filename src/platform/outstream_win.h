// What an interrupt means for writing on Windows.
#pragma once

// From now on a write to a full stream that waits longer than a moment is broken off. Once, after
// the interrupt was noted; any thread.
void GiveUpFullStreams();
