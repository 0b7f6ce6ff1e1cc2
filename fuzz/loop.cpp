// Drives a fuzzer without coverage: seeds, cut, spliced and mutated at random, until the time is over.
//   fuzz_NAME [-max_total_time=SECONDS] [-max_len=BYTES] [-seed=NUMBER] [FILE | FOLDER]...
// With files alone and no time it runs these once each. An input that ends the process is kept in crash-input.
#include "fuzz/fuzzer.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace {

using Input = std::string;

Input theInput;

void keepInput() {
    std::ofstream("crash-input", std::ios::binary) << theInput;
    std::fprintf(stderr, "the input is in crash-input\n");
}

void keepAndAbort(int signal) {
    keepInput();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

struct Options {
    long seconds = 0;
    std::size_t maxLength = 4096;
    unsigned seed = std::random_device{}();
    std::vector<Input> seeds;
};

bool takeNumber(const char* argument, const char* name, auto& number) {
    const std::size_t length = std::strlen(name);
    if (std::strncmp(argument, name, length) != 0) return false;
    number = static_cast<std::remove_reference_t<decltype(number)>>(std::strtoul(argument + length, nullptr, 10));
    return true;
}

void readSeeds(const std::filesystem::path& path, std::vector<Input>& seeds) {
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::directory_iterator(path)) readSeeds(entry.path(), seeds);
        return;
    }
    std::ifstream stream(path, std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

class Mutator {
public:
    explicit Mutator(const Options& options) : m_options(options), m_random(options.seed) {}

    Input next() {
        Input input = piece();
        for (std::size_t count = below(8); count > 0; --count) mutate(input);
        input.resize(std::min(input.size(), m_options.maxLength));
        return input;
    }

private:
    std::size_t below(std::size_t limit) { return limit == 0 ? 0 : m_random() % limit; }

    // A stretch of some seed, now and then all of it.
    Input piece() {
        if (m_options.seeds.empty()) return Input(below(32), ' ');
        const Input& seed = m_options.seeds[below(m_options.seeds.size())];
        if (below(4) == 0) return seed;
        const std::size_t start = below(seed.size());
        return seed.substr(start, below(256) + 1);
    }

    void mutate(Input& input) {
        const std::size_t at = below(input.size() + 1);
        const bool inside = at < input.size();
        switch (below(5)) {
        case 0: input.insert(at, 1, static_cast<char>(below(256))); break;
        case 1: input.insert(at, piece()); break;
        case 2: input.erase(at, below(16)); break;
        case 3:
            if (inside) input[at] = static_cast<char>(input[at] ^ (1 << below(8)));
            break;
        default:
            if (inside) input.insert(at, input.substr(at, below(32)));
        }
    }

    const Options& m_options;
    std::minstd_rand m_random;
};

void run(Input input) {
    theInput = std::move(input);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(theInput.data()), theInput.size());
}

long runFor(const Options& options) {
    using Clock = std::chrono::steady_clock;
    Mutator mutator(options);
    long runs = 0;
    for (const auto end = Clock::now() + std::chrono::seconds(options.seconds); Clock::now() < end; ++runs)
        run(mutator.next());
    return runs;
}

}  // namespace

int main(int count, char** arguments) {
    Options options;
    for (int index = 1; index < count; ++index) {
        const char* argument = arguments[index];
        const bool isOption = takeNumber(argument, "-max_total_time=", options.seconds) ||
                              takeNumber(argument, "-max_len=", options.maxLength) ||
                              takeNumber(argument, "-seed=", options.seed);
        if (!isOption && argument[0] != '-') readSeeds(argument, options.seeds);
    }
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(keepInput);
    for (const int signal : {SIGABRT, SIGSEGV}) std::signal(signal, keepAndAbort);
    std::fprintf(stderr, "seed %u, %zu seeds\n", options.seed, options.seeds.size());
    for (const Input& seed : options.seeds) run(seed);
    std::fprintf(stderr, "%ld runs\n", runFor(options));
    return 0;
}
