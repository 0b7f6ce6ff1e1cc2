// The program that reads and writes foreign models for the host, in a process of its own: whatever a file does to a
// reader, it cannot harm the host.
//
//     kzModels read FILE            writes the model to standard output
//     kzModels write FORMAT FILE    reads it from standard input
//
// What is wrong goes to standard error. The exit status is 0, 1 for a failure, or 2 if nobody reads such files.
#include "host/models/assimp.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <new>
#include <string_view>

namespace {

using namespace kzhost;

// A file may ask for more than the machine has. Sanitizers claim far more addresses than they use.
void setLimits() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit memory{std::uint64_t{4} << 30U, std::uint64_t{4} << 30U};
    setrlimit(RLIMIT_AS, &memory);
#endif
    const rlimit seconds{300, 300}, none{0, 0};
    setrlimit(RLIMIT_CPU, &seconds);
    setrlimit(RLIMIT_CORE, &none);
}

void writeAll(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (written <= 0) throw ModelError("the model cannot be handed on");
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

int run(int count, char** words) {
    const std::string_view verb = count > 1 ? words[1] : "";
    if (verb == "read" && count == 3) {
        ForeignModel model = kzReadForeign(words[2]);
        CModelBytes out;
        kzFields(out, model);
        writeAll(out.bytes);
        return 0;
    }
    if (verb == "write" && count == 4) {
        const std::string bytes{std::istreambuf_iterator<char>(std::cin), {}};
        CModelParser in(bytes);
        ForeignModel model;
        kzFields(in, model);
        kzCheckModel(model);
        kzWriteForeign(model, words[2], words[3]);
        return 0;
    }
    std::fputs("usage: kzModels read FILE | kzModels write FORMAT FILE\n", stderr);
    return 1;
}

int fail(const char* why, int status) {
    std::fputs(why, stderr);
    return status;
}

int guarded(int count, char** words) {
    try {
        return run(count, words);
    } catch (const ModelUnknown& error) {
        return fail(error.what(), 2);
    } catch (const std::bad_alloc&) {
        return fail("it needs more than 4 GiB of memory", 1);
    } catch (const std::exception& error) {
        return fail(error.what(), 1);
    } catch (...) {
        return fail("its reader failed", 1);
    }
}

}  // namespace

// Without destructors: what a reader has left behind after a failure may not be in order.
int main(int count, char** words) {
    setLimits();
    const int status = guarded(count, words);
    std::fflush(stderr);
    std::_Exit(status);
}
