// Stands in for libFuzzer when the build has no clang: feeds every file of
// the given folders (or the given files) to the target once.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        fs::path p = argv[i];
        if (fs::is_directory(p)) {
            for (const auto& e : fs::directory_iterator(p))
                if (e.is_regular_file()) inputs.push_back(e.path());
        } else {
            inputs.push_back(p);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    if (inputs.empty()) {
        std::fprintf(stderr, "no inputs to replay\n");
        return 1;
    }
    for (const auto& p : inputs) {
        std::ifstream f(p, std::ios::binary);
        std::string data{std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>()};
        // A private copy, so reads past the end are caught under sanitizers.
        std::vector<std::uint8_t> copy(data.begin(), data.end());
        LLVMFuzzerTestOneInput(copy.data(), copy.size());
    }
    std::printf("replayed %zu inputs\n", inputs.size());
    return 0;
}
