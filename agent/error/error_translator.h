#pragma once

#include <kelp/agent/error_translation.h>

#include <map>
#include <string>

namespace NS_KELPCORBA {

/// The process's translator of error codes, made by the first translation or by the agent's start
/// and destroyed by the agent's stop. Callable from any thread; destroying it while requests are
/// served is the caller's error.
class KelpErrTranslator {
  public:
    static KelpErrTranslator* Instance();
    /// Empties and frees the translator; without one: nothing. The next use makes a new one.
    static void Destroy();

    /// Always succeeds.
    bool Init();
    /// The translation as a member: KelpCorbaErrTranslator.
    void Translate(unsigned long code, globaldefs::ProcessingFailureException& exception) const;

    KelpErrTranslator(const KelpErrTranslator&) = delete;
    KelpErrTranslator& operator=(const KelpErrTranslator&) = delete;

  private:
    KelpErrTranslator() = default;
    ~KelpErrTranslator() = default;

    /// Texts by code. The translation does not consult them: texts are the catalogue's, asked anew
    /// each time.
    std::map<unsigned long, std::string> texts_;
};

}  // namespace NS_KELPCORBA
