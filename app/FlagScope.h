// A flag that other threads read, set for the length of a scope.
#pragma once

#include <atomic>

class CFlagScope {
  public:
    // Sets the flag, which must outlive this object.
    explicit CFlagScope(std::atomic<bool>& bFlag) : m_bFlag(bFlag) { m_bFlag = true; }
    ~CFlagScope() { m_bFlag = false; }
    CFlagScope(const CFlagScope&) = delete;
    CFlagScope& operator=(const CFlagScope&) = delete;

  private:
    std::atomic<bool>& m_bFlag;
};
