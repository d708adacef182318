// Runs a fuzz target over the inputs it is given (files, or folders of
// files) once each, so the normal test run replays the kept corpus with the
// compiler and sanitizers of that build. The fuzzing build links libFuzzer's
// own main instead.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv) __attribute__((weak));

namespace {

void runFile(const std::filesystem::path &path)
{
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

} // namespace

int main(int argc, char **argv)
{
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path arg(argv[i]);
        if (!std::filesystem::is_directory(arg)) {
            runFile(arg);
            ++inputs;
            continue;
        }
        for (const auto &entry : std::filesystem::recursive_directory_iterator(arg))
            if (entry.is_regular_file()) {
                runFile(entry.path());
                ++inputs;
            }
    }
    std::printf("replayed %d inputs\n", inputs);
    return inputs > 0 ? 0 : 1;
}
