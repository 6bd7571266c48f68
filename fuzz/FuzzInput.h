// How the fuzz target splits one input into a kernel file and a request.
//
// The last kRequestBytes bytes of an input choose the request; everything before them is the kernel file. An
// input shorter than that is all file, with an all-zero request. The seed writer (make_seeds.cpp) and the
// target share this layout so seeds start from meaningful requests.
//
//   REQUEST BYTE  MEANING
//   0             flags (low 5 bits)
//   1             stepNumber, signed
//   2             modeNumber, signed
//   3             number of IDs - 1 (low 2 bits)
//   4..7          picks of IDs from the file's own directory (element directory under flag 1, else nodes)
//   8             number of response ids (mod 5)
//   9..12         picks of response ids from the key tables' vocabulary
//   13            location of each response id (mod 3)
//   14            result length: signed change from the length the request needs
//   15            unused
#pragma once

#include <cstddef>
#include <cstdint>

namespace fuzzinput {

constexpr std::size_t kRequestBytes = 16;

}  // namespace fuzzinput
