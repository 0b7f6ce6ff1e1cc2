// What Python code expects around a script while it runs.
#pragma once

#include "module/py_ref.h"

#include <string>
#include <vector>

class IKzUnknown;

namespace Python_Script {

// The words of an object that offers a word list; none of any other.
std::vector<std::string> wordsOf(IKzUnknown* object);

// While it lives, sys.argv holds the words, the script's folder comes first on sys.path, and __main__ is a module whose
// names are those that the script runs in, so that its classes pickle. Needs the interpreter lock throughout.
class CScriptSurroundings {
public:
    // `names` become the script's; the words begin with what the script was started as. Throws FAILED.
    CScriptSurroundings(const std::string& path, PyObject* names, const std::vector<std::string>& words);
    ~CScriptSurroundings();
    CScriptSurroundings(const CScriptSurroundings&) = delete;
    CScriptSurroundings& operator=(const CScriptSurroundings&) = delete;

private:
    void install();
    void removeFolder() noexcept;
    void restore() noexcept;

    CPyRefNull m_folder;  // as it stands on sys.path; null for a text that came from no file
    CPyRefNull m_words;
    CPyRefNull m_main;
    CPyRefNull m_formerWords;
    CPyRefNull m_formerMain;
    CScriptSurroundings* m_below = nullptr;
};

}  // namespace Python_Script
