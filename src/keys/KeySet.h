// The registry of result keys: one key object for each kind of quantity, built once with the kernel object
// and kept for its whole life.
//
// Element keys are found by result kind and element type code: Bush 580, Rod 582, Bar 583, RigidBar 584,
// WarpingBar 586, Catenary 594, PlaneStress 642, PlaneStrain 643, Shell 645, Solid 768. Every element type has
// a force key (the rigid bar has its own instance of the bush force key); the line elements bush and rigid bar
// have no stress key, and only the bush has a deformation key. Node keys are reached through `nodeKeys`.
//
// Per call: the selections are filled by one of the two `select...Responses`, read by evaluation, and emptied
// by `clearSelections` at the end of the call.
#pragma once

#include <cstdint>
#include <map>

#include "keys/KeyInfo.h"
#include "keys/RequestList.h"
#include "base/Counted.h"

namespace Zarn {

class TimeKernelKeySet {
 public:
  using KeyMap = std::map<int32_t, counted_ptr<TimeKernelKeyInfo>>;  // ascending by element type code

  // The positions of the node keys in `nodeKeys`.
  enum NodeKey { kDisplacement = 0, kVelocity = 1, kAcceleration = 2, kNodeKeyCount = 3 };

  KeyMap forceKeys;   // element type code -> force key
  KeyMap stressKeys;  // element type code -> stress key
  KeyMap deformKeys;  // element type code -> deformation key (the bush only)
  counted_ptr<TimeKernelKeyInfo> nodeKeys[kNodeKeyCount];  // displacement, velocity, acceleration

  // Builds every key. A key whose allocation fails stays an empty pointer; the selections skip empty keys.
  TimeKernelKeySet();

  // Offers the response ids of `requests` to every element key: `forceKeys`, then `stressKeys`, then
  // `deformKeys`, each in ascending code order. Request ordinal i is entry i of the list. A response id that no
  // key knows selects nothing and is no error. Fails (error 1) when the list has entries but no values.
  void selectElementResponses(const RequestList& requests);

  // The same for the displacement, velocity and acceleration keys, in that order.
  void selectNodeResponses(const RequestList& requests);

  // Empties the selection of every key: the three maps in ascending code order, then the node keys.
  void clearSelections();
};

}  // namespace Zarn
