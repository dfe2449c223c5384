// Runs a fuzz target over files without a fuzzer: every argument is a file, or a folder of files.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool RunFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), {}};
    if (!in) { return false; }
    std::fprintf(stderr, "%s (%zu bytes)\n", path.filename().c_str(), bytes.size());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            runs += RunFile(argv[i]) ? 1 : 0;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            runs += RunFile(entry.path()) ? 1 : 0;
        }
    }
    return runs > 0 ? 0 : 1;
}
