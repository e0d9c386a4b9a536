// A text that a caller may leave out. Internal.
#ifndef VELLIX_TEXT_OR_EMPTY_H_
#define VELLIX_TEXT_OR_EMPTY_H_

namespace QuorlBased {

inline const char* TextOrEmpty(const char* text) { return text ? text : ""; }

}  // namespace QuorlBased

#endif  // VELLIX_TEXT_OR_EMPTY_H_
