// Scratch files for the tests of saved streams.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace korb::test {

// A fresh directory, removed with everything in it when the object goes.
class TempDir {
  public:
    TempDir() : path_((std::filesystem::temp_directory_path() / "korb-XXXXXX").string()) {
        EXPECT_NE(mkdtemp(path_.data()), nullptr);
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

inline std::string read_file(const std::string &path) {
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

inline void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

}  // namespace korb::test
