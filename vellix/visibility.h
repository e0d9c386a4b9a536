// What keeps an inline function within its module.
//
// A host that exports its symbols (-rdynamic) would else lend its copy of an
// inline function to a plug-in whose headers are of another release, where the
// class may have other fields.
#ifndef VELLIX_VISIBILITY_H_
#define VELLIX_VISIBILITY_H_

// Stands before an inline member of an installed class.
#define VELLIX_HIDDEN [[gnu::visibility("hidden")]]

#endif  // VELLIX_VISIBILITY_H_
