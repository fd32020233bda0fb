// A limit on how long one script may run.  A script that never returns would hang its host
// with no sign of why; past the limit a watchdog thread calls the host's handler, which tells
// the user and ends the run.  Python cannot be interrupted safely from another thread in the
// middle of a call (a script may sit in a C call or a sleep), so the handler is the host's way
// out, not a recoverable error.  No limit is set until a host sets one.
#pragma once

// Called on the watchdog thread with the limit in seconds; it must not return into the
// interpreter's locks: it ends the process.
using LANoverrunHandler = void (*)(unsigned seconds);

// 0 seconds or no handler: no limit.
void LANsetScriptTimeLimit(unsigned seconds, LANoverrunHandler handler);
unsigned LANscriptTimeLimit();

// Times one script run, outermost runs only: a script that runs another counts as one.  The
// watch is process-wide, made for a host that runs scripts on one thread (the tool).
class LANscriptTimer {
public:
  LANscriptTimer();
  ~LANscriptTimer();
  LANscriptTimer(const LANscriptTimer&) = delete;
  LANscriptTimer& operator=(const LANscriptTimer&) = delete;

private:
  bool m_Armed = false;
};
