/* How a piece of work ends: THREADS threads hold the same item and call FinishWork, one thread sets the
 * output's status itself, one waits at the semaphore and then lets go of the output. Explored for 2 and 3
 * threads by scripts/check-models. The labels name the functions of velmora/engine and
 * velmora/foundation; a step is what runs without another thread's being able to interfere.
 *
 * Excluded, in every order of the steps: that two threads end the work, or none; that an empty result is
 * seen where the status was set by hand; that the finish flag is set before the status; that the waiter
 * sleeps although the work has ended; that anything of the output is used after it was destroyed.
 * Left out: reordering by compiler and processor (the thread sanitizer's part), exceptions, time-outs,
 * and what the work object does. */
#ifndef THREADS
#define THREADS 2
#endif
#define NO_RESULT 0
#define WORK_ENDED 1
#define FINISHED 2

byte status = NO_RESULT;        /* NxOutputBase::status_ */
byte emptyResults = 0;          /* of NxOutputBase::results_ */
bool resultsMutex = false;
bool flag = false;              /* NxDependencyFinishFlag::finished_ */
bool isWorkFinished = false;    /* ExecutableWorkItem::finished_ */
byte value = 0;                 /* NxSemaphore::value_ */
bool isAsleep = false;          /* the waiter, in NxSemaphore::Consume */
byte references = THREADS + 2;  /* on the output: the items', the setter's, the waiter's */
bool isDestroyed = false;
byte ended = 0;                 /* how often EndWork has returned true */

inline Lock(mutex) { atomic { !mutex -> mutex = true } }
inline Unlock(mutex) { mutex = false }

/* Both under the semaphore's own lock, which nothing else is done under. */
inline Produce() { d_step { value++; isAsleep = false } }
inline Release() {
  atomic {
    references--;
    if
    :: references == 0 -> isDestroyed = true
    :: else
    fi
  }
}

active [THREADS] proctype Finisher() {
  bool isEnded = false;
  if
  :: isWorkFinished = true /* SetWorkFinished */
  :: _pid != 0 -> skip     /* the first thread's work does it */
  fi;
IsWorkFinished:
  if
  :: isWorkFinished
  :: else -> goto done
  fi;
EndWork:
  assert(!isDestroyed);
  if
  :: status == NO_RESULT
  :: else -> goto done
  fi;
  Lock(resultsMutex);
  assert(!isDestroyed);
  if
  :: status == NO_RESULT ->
    emptyResults++;
    atomic { /* compare_exchange_strong */
      if
      :: status == NO_RESULT -> status = WORK_ENDED; isEnded = true; ended++
      :: else
      fi
    };
    if
    :: isEnded
    :: else -> emptyResults--
    fi
  :: else
  fi;
  Unlock(resultsMutex);
  if
  :: isEnded -> Produce()
  :: else
  fi;
done:
  Release()
}

/* A module that has results of its own. It wakes the waiter itself. */
active proctype Setter() {
  if
  :: goto done /* it has none, and leaves the end to the items */
  :: skip
  fi;
SetResultStatus:
  assert(!isDestroyed);
  status = FINISHED; /* exchange */
MarkAsFinish:
  assert(!isDestroyed && status == FINISHED);
  flag = true;
  Produce();
done:
  Release()
}

active proctype Waiter() {
Consume: /* left asleep at the end, it would be an invalid end state */
  do
  :: atomic { value > 0 -> value--; break }
  :: atomic { value == 0 -> isAsleep = true };
    !isAsleep
  od;
GetResultCount:
  Lock(resultsMutex);
  assert(!isDestroyed && status != NO_RESULT && emptyResults == ended && ended <= 1);
  assert(!flag || status == FINISHED);
  Unlock(resultsMutex);
  Release()
}
