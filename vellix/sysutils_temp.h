// Names for temporary files.
//
// An object is for one thread at a time. It creates and opens no file: the name
// was unused when it was made and is not reserved.
#ifndef VELLIX_SYSUTILS_TEMP_H_
#define VELLIX_SYSUTILS_TEMP_H_

#include <string>

#include "vellix/visibility.h"

namespace QuorlBased {

// A file name for temporary use. The destructor removes the file of that name
// if SetOwned said so. No operation records anything in the thread's failure
// record.
class CTmpFile {
 public:
  // Gets its name from CreateTempFile and throws what that throws. A
  // cancellation point, like the next one and CreateTempFile.
  //
  // The type of the second argument chooses the constructor: a literal there is
  // a name, so an extension must be a std::string.
  CTmpFile(const std::string& directory, const std::string& extension);

  // A new name in the system's temporary directory. If `name` is not null, it
  // replaces the part before the extension, and the directory is expanded: all
  // objects with the same two arguments then have the same name.
  //
  //   CTmpFile report(".txt", "report");  ->  "/tmp/report.txt"
  //
  // Failure: as CreateTempFile and extract_file_path.
  CTmpFile(const std::string& extension, const char* name);

  CTmpFile(const CTmpFile&) = delete;
  CTmpFile& operator=(const CTmpFile&) = delete;

  // Removes the file if it is owned; a relative name is looked up in the
  // current directory of that time. A failure is not reported.
  virtual ~CTmpFile();

  // An unused name: `directory`, "tmpf" with 80 random bits as letters and
  // digits, and `extension`, which includes the dot. An empty `directory` means
  // TMPDIR, or the platform's default if that is not a directory. With a
  // relative directory the name is relative.
  //
  // Failure: throws kGeneralFailure "Unexpected error" for a missing directory,
  // without random bytes, and when no name is free or can be looked up.
  static std::string CreateTempFile(const std::string& directory,
                                    const std::string& extension);

  // Valid as long as the object.
  VELLIX_HIDDEN const std::string& GetFilePathName() const {
    return file_path_name_;
  }

  // Whether the destructor removes the file; it does not unless told to.
  VELLIX_HIDDEN void SetOwned(bool owned) { owned_ = owned; }

 private:
  std::string file_path_name_;
  bool owned_ = false;
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_TEMP_H_
