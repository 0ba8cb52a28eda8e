#pragma once

#include <string>
#include <vector>

/// Edits of files and streams, one a line:
///
///   put PLACE ITEM...      writes over what is there
///   insert PLACE ITEM...   moves what is there; locations stay as they are
///   erase PLACE COUNT
///   cut PLACE              nothing is left from there on
///   add ITEM...            behind the end
///   drop TAG               takes a tag out of its list
///   twice TAG VALUE        repeats a tag at the end of its list, with another value
///   say WORD#N K TEXT      of a text file: the K-th word behind the N-th description, in its
///   columns reword WORD#N TEXT     the N-th description itself, in its columns; N is negative from
///   the end
///
/// A PLACE is a number, end, "a text"#N (behind its N-th occurrence), or, in a binary file, the
/// name of a word: byteOrder, dataSet (which holds the location of its header), zone1,
/// zone1.partition2, TAG, TAG.number, dataSet.count (of tags). TAG is dataSet.zoneTypes,
/// zone1.varFileLocs, zone1.partition2.varFileLocs and so on. An @ ahead of a place follows the
/// location that stands there; +N and -N go on from it; () group.
///
/// An ITEM is u8, u16, u32, u64, i32, i64, f32 or f64 and a value, count and a value (64 bits),
/// text "..." (its length and its bytes), bytes "...", hex 00ff, fill COUNT BYTE, or, up to the end
/// of the line, vec TYPE VALUE... and texts "..." .... A value is a number, 2^N, end, &PLACE or
/// @PLACE, each with +N or -N.
namespace varnox::malformed {

/// Throws std::runtime_error where an edit can't be made.
std::string edited(std::string bytes, std::vector<std::string> const& edits);

}
