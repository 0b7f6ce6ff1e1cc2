// Reading the user's PYTHON... environment variables.
#include "module/environment.h"

#include "module/checks.h"
#include "module/output.h"
#include "module/py_ref.h"

#include "kz/result.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* library = "lib/python2.7";

constexpr char delimiter = ':';  // between the folders of a path

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

bool hasModule(const std::string& folder, const char* name) {
    const std::string path = (folder.empty() ? "." : folder) + "/" + name;
    return exists(path + ".py") || exists(path + ".pyc") || exists(path + "/__init__.py") ||
           exists(path + "/__init__.pyc");
}

std::string valueOf(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}

void tell(const std::string& variable, const std::string& value, const std::string& why) {
    kzWrite((variable + ": \"" + value + "\" " + why).c_str(), KZe_WARNING);
}

// The interpreter's own test, which ends the process if it fails.
bool isHashSeed(const std::string& text) {
    if (text.empty() || text == "random") return true;
    char* end = nullptr;
    errno = 0;
    const unsigned long seed = std::strtoul(text.c_str(), &end, 10);
    return *end == '\0' && seed <= UINT_MAX && errno == 0;
}

// The switches that the interpreter does not see when it ignores the environment.
void readSwitches() {
    const std::pair<const char*, int*> switches[] = {
        {"PYTHONDEBUG", &Py_DebugFlag},
        {"PYTHONVERBOSE", &Py_VerboseFlag},
        {"PYTHONOPTIMIZE", &Py_OptimizeFlag},
        {"PYTHONDONTWRITEBYTECODE", &Py_DontWriteBytecodeFlag},
    };
    for (const auto& [variable, flag] : switches)
        if (const std::string value = valueOf(variable); !value.empty())
            *flag = std::max({*flag, static_cast<int>(std::strtol(value.c_str(), nullptr, 10)), 1});
}

std::vector<std::string> foldersOf(const std::string& path) {
    std::vector<std::string> folders;
    if (path.empty()) return folders;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find(delimiter, start), path.size());
        folders.push_back(path.substr(start, end - start));
        start = end + 1;
    }
    return folders;
}

// Whether the folder is on sys.path already, as the interpreter's own folders are. PYTHONPATH may name those as well.
bool isOwnFolder(PyObject* path, const std::string& folder) {
    char* real = realpath(folder.c_str(), nullptr);
    if (real == nullptr) return false;
    bool isPresent = false;
    for (Py_ssize_t index = 0; index < PyList_GET_SIZE(path) && !isPresent; ++index) {
        PyObject* entry = PyList_GET_ITEM(path, index);
        char* own = PyString_Check(entry) ? realpath(PyString_AS_STRING(entry), nullptr) : nullptr;
        isPresent = own != nullptr && std::strcmp(own, real) == 0;
        std::free(own);
    }
    std::free(real);
    return isPresent;
}

// Where a folder of PYTHONPATH goes on sys.path.
enum class Place { front, back, nowhere };

Place placeOf(PyObject* path, const std::string& folder) {
    constexpr const char* variable = "PYTHONPATH";
    const bool hasCodecs = hasModule(folder, "codecs") || hasModule(folder, "encodings");
    if (isOwnFolder(path, folder)) return Place::nowhere;
    if (hasCodecs && hasModule(folder, "os")) {
        tell(variable, folder, "is ignored: it contains the library of another Python");
        return Place::nowhere;
    }
    if (!hasCodecs) return Place::front;
    tell(variable, folder, "comes after the standard library: its codecs would take the place of Python's own");
    return Place::back;
}

}  // namespace

bool kzIsHome(const std::string& folder) { return exists(folder + "/" + library); }

std::string kzHomeOfEnvironment() {
    std::string home = valueOf("PYTHONHOME");
    const std::string prefix = home.substr(0, home.find(delimiter));
    if (prefix.empty() || hasModule(prefix + "/" + library, "os")) return home;
    tell("PYTHONHOME", home, std::string("is ignored: it contains no ") + library);
    return {};
}

void kzInitialiseInEnvironment() {
    const int ignored = Py_IgnoreEnvironmentFlag;
    Py_IgnoreEnvironmentFlag = 1;
    Py_GetPath();  // computes the path, without PYTHONPATH, and caches it for good
    Py_IgnoreEnvironmentFlag = ignored;
    if (const std::string seed = valueOf("PYTHONHASHSEED"); ignored == 0 && !isHashSeed(seed)) {
        tell("PYTHONHASHSEED", seed, R"(is ignored: it is neither "random" nor a number from 0 to 4294967295)");
        readSwitches();
        Py_IgnoreEnvironmentFlag = 1;
    }
    Py_InitializeEx(0);
    Py_IgnoreEnvironmentFlag = ignored;
}

void kzAddEnvironmentPath() {
    if (Py_IgnoreEnvironmentFlag != 0) return;
    PyObject* path = kzNonNull(PySys_GetObject(kzText("path")));
    kzTrue(PyList_Check(path));
    Py_ssize_t front = 0;
    for (const std::string& folder : foldersOf(valueOf("PYTHONPATH"))) {
        const Place place = placeOf(path, folder);
        if (place == Place::nowhere) continue;
        const CPyRef text(PyString_FromStringAndSize(folder.data(), static_cast<Py_ssize_t>(folder.size())),
                          CPyRef::owned);
        kzNonNegative(place == Place::front ? PyList_Insert(path, front++, text) : PyList_Append(path, text));
    }
}
