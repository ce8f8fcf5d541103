// tests/support/temporary_folder.h: an empty folder for one test, gone with its contents afterwards.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

class temporary_folder {
public:
    temporary_folder() {
        const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
        static int count = 0;
        path_ = std::filesystem::temp_directory_path() / ("lorq" + std::to_string(ticks) + std::to_string(++count));
        std::filesystem::create_directories(path_);
    }
    ~temporary_folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    temporary_folder(const temporary_folder&) = delete;
    temporary_folder& operator=(const temporary_folder&) = delete;

    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return *this / name;
    }

private:
    std::filesystem::path path_;
};
