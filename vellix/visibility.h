// Keeps an inline function within its module.
//
// Otherwise a plug-in would use the inline functions of a host that exports its
// symbols (-rdynamic), whose headers may be of another release, with other
// fields in the class.
#ifndef VELLIX_VISIBILITY_H_
#define VELLIX_VISIBILITY_H_

// Put it before each inline member of an installed class.
#define VELLIX_HIDDEN [[gnu::visibility("hidden")]]

#endif  // VELLIX_VISIBILITY_H_
