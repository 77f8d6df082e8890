#pragma once

#include <kelp/agent/error_translation.h>

#include <map>
#include <string>

namespace NS_KELPCORBA {

/// The process's translator of error codes. The first translation or the agent's start makes it,
/// and the agent's stop destroys it. Any thread may call it. The caller of Destroy ensures that no
/// request is being served.
class KelpErrTranslator {
  public:
    static KelpErrTranslator* Instance();
    /// Clear and destroy the translator if it exists. The next use makes a new one.
    static void Destroy();

    /// Always true.
    bool Init();
    /// Call KelpCorbaErrTranslator.
    void Translate(unsigned long code, globaldefs::ProcessingFailureException& exception) const;

    KelpErrTranslator(const KelpErrTranslator&) = delete;
    KelpErrTranslator& operator=(const KelpErrTranslator&) = delete;

  private:
    KelpErrTranslator() = default;
    ~KelpErrTranslator() = default;

    /// Texts by code. The translation does not use them: it reads each text from the catalogue.
    std::map<unsigned long, std::string> texts_;
};

}  // namespace NS_KELPCORBA
