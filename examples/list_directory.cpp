// The entries of a directory that match a mask, written into a memory stream
// and saved to a file.
#include <iostream>
#include <string>

#include "vellix/quorl_base_streams.h"
#include "vellix/sysutils.h"

namespace {

using namespace QuorlBased;

// False when `directory` cannot be listed or nothing in it matches.
bool List(const std::string& directory, const std::string& mask,
          CMemoryStream& listing) {
  find_data* found = nullptr;
  try {
    found = find_first(directory.c_str(), mask.c_str());
  } catch (const CBaseException& failure) {
    std::cerr << failure.GetMsg() << "\n";
    return false;
  }
  do {
    if (find_is_folder(found)) continue;
    const std::string line = extract_file_name(find_get_path(found)) + "\n";
    listing.Write(line.data(), static_cast<uint32_t>(line.size()));
  } while (find_next(found));
  find_close(found);
  return true;
}

void MakeFile(const std::string& path) { file_close(file_create(path)); }

}  // namespace

int main() {
  make_dir("vellix_listing.d/old.log");
  MakeFile("vellix_listing.d/a.log");
  MakeFile("vellix_listing.d/b.txt");

  CMemoryStream listing;
  if (!List("vellix_listing.d", "*.log", listing)) return 1;
  if (!listing.SaveToFile("vellix_listing.txt")) {
    std::cerr << GetLastQuorlExpAsText() << "\n";
    return 1;
  }
  const std::string text(static_cast<const char*>(listing.GetMemory()),
                         static_cast<size_t>(listing.GetSize()));
  std::cout << text;
  return text == "a.log\n" ? 0 : 1;
}
