#pragma once
// A temporary folder that is removed with everything in it at the end of a test.

#include <cstdint>
#include <string>
#include <vector>

namespace melos::test {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  // Writes the bytes to NAME inside the folder and returns the full path.
  std::string write(const std::string& name, const std::vector<uint8_t>& bytes) const;
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

std::vector<uint8_t> readFile(const std::string& path);

}  // namespace melos::test
