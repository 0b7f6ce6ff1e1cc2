// The environment that Python code expects while a script runs.
#pragma once

#include "module/py_ref.h"

#include <string>
#include <vector>

class IKzUnknown;

namespace Python_Script {

// The words of an object that offers IKzWordList; empty for any other object.
std::vector<std::string> wordsOf(IKzUnknown* object);

// RAII guard: while it exists, sys.argv holds the words, the script's folder comes first on sys.path, and __main__ is a
// module with the script's dictionary, so that its classes can be pickled. Needs the interpreter lock throughout.
class CScriptSurroundings {
public:
    // `names` is the script's dictionary; the first word is the name by which the script was started. Throws FAILED.
    CScriptSurroundings(const std::string& path, PyObject* names, const std::vector<std::string>& words);
    ~CScriptSurroundings();
    CScriptSurroundings(const CScriptSurroundings&) = delete;
    CScriptSurroundings& operator=(const CScriptSurroundings&) = delete;

private:
    void install();
    void removeFolder() noexcept;
    void restore() noexcept;

    CPyRefNull m_folder;  // the entry on sys.path; null if the script has no file
    CPyRefNull m_words;
    CPyRefNull m_main;
    CPyRefNull m_formerWords;
    CPyRefNull m_formerMain;
    CScriptSurroundings* m_below = nullptr;
};

}  // namespace Python_Script
