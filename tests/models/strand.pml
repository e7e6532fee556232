/* A job as a strand: THREADS threads end pieces of work and post them, and the first to come handles what is
 * posted, one piece after the other, until there is nothing, or the job is done and its owner destroys
 * it. Each piece handled may queue another. Explored by scripts/check-models. The labels name the
 * functions of velmora_capture/internal/capture_job.cpp.
 *
 * Excluded, in every order of the steps: that two threads are on the strand, that a posted piece stays
 * unhandled or is handled twice, that the job is done never or twice, that a thread looks at the job
 * after it was destroyed.
 * Left out: reordering by compiler and processor (the thread sanitizer's part), lost pieces, which take
 * the same way, and what is done with a piece. */
#ifndef THREADS
#define THREADS 2
#endif
#define PIECES (THREADS + 2) /* the first, one for each thread, and one more */

byte queued = 0;         /* pieces in the pool */
byte made = 0;           /* pieces that were ever queued */
byte ended = 0;          /* CaptureJob::ended_ */
byte handled = 0;
bool isDraining = true;  /* CaptureJob::isDraining_ */
bool isDone = false;     /* CaptureJob::isDone_ */
byte onStrand = 0;
byte references = 1;     /* the owner's, the items', and those of the threads in Drain */
bool isDestroyed = false;
bool mutex = false;

inline Lock() { atomic { !mutex -> assert(!isDestroyed); mutex = true } }
inline Unlock() { assert(!isDestroyed); mutex = false }
inline Release() {
  atomic {
    references--;
    if
    :: references == 0 -> assert(isDone); isDestroyed = true
    :: else
    fi
  }
}
inline QueuePiece() { atomic { assert(!isDestroyed); made++; queued++; references++ } }

inline Drain() {
  atomic { references++; onStrand++; assert(onStrand == 1) }
  do
  :: isDone ->
    atomic { onStrand--; references-- /* OnJobDone: the owner's */ }
    break
  :: else ->
TakeEnded:
    Lock();
    if
    :: ended > 0 ->
      ended--;
      Unlock();
      assert(!isDestroyed && onStrand == 1);
      handled++; /* EndPiece */
      if
      :: made < PIECES -> QueuePiece()
      :: skip
      fi;
      if
      :: handled == made -> isDone = true
      :: else
      fi;
      Release() /* the item's */
    :: else ->
      atomic { isDraining = false; onStrand-- }
      Unlock();
      break
    fi
  od;
  Release()
}

active proctype Owner() {
Start:
  QueuePiece(); /* Begin */
  if
  :: QueuePiece()
  :: skip
  fi;
  Drain()
}

active [THREADS] proctype Worker() {
  do
  :: atomic { queued > 0 -> queued-- };
Post:
    Lock();
    ended++;
    if
    :: isDraining -> Unlock()
    :: else ->
      isDraining = true;
      Unlock();
      Drain()
    fi
  :: isDestroyed -> break
  od;
  assert(handled == made && ended == 0 && onStrand == 0)
}
