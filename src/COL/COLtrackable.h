// COLtrackable: an object that tells its trackers when it dies.  A tracker is registered
// once however often it is added.
#pragma once

#include "COLvector.h"

class COLtrackable;

class COLtracker {
public:
  // Called from the trackable's destructor, with the object that is going away.
  virtual void trackableDestroyed(COLtrackable* object) = 0;
  virtual ~COLtracker() = default;
};

class COLtrackable {
public:
  COLtrackable() = default;
  // A copy starts without trackers: they followed the original.
  COLtrackable(const COLtrackable&) {}
  COLtrackable& operator=(const COLtrackable&) { return *this; }
  virtual ~COLtrackable() {
    for (COLtracker* tracker : m_Trackers) tracker->trackableDestroyed(this);
  }

  void addTracker(COLtracker* tracker) {
    if (m_Trackers.find(tracker) == m_Trackers.npos) m_Trackers.add(tracker);
  }
  void removeTracker(COLtracker* tracker) {
    const size_t index = m_Trackers.find(tracker);
    if (index != m_Trackers.npos) m_Trackers.remove(index);
  }
  size_t countOfTracker() const { return m_Trackers.size(); }

private:
  COLarray<COLtracker*> m_Trackers;
};
