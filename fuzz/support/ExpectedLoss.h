#pragma once

// Of an address sanitizer, where there is one.
extern "C" {
void __lsan_disable() __attribute__((weak));
void __lsan_enable() __attribute__((weak));
}

namespace varnox::fuzz {

/// Operands of functions that don't exist are lost, as ExpressionDeserializer says: while this lives, and
/// it is expected, no leak is looked for.
class ExpectedLoss
{
public:
    explicit ExpectedLoss(bool isExpected = true)
        : m_isExpected(isExpected && __lsan_disable != nullptr && __lsan_enable != nullptr)
    {
        if (m_isExpected)
            __lsan_disable();
    }
    ExpectedLoss(ExpectedLoss const&) = delete;
    ExpectedLoss& operator=(ExpectedLoss const&) = delete;
    ~ExpectedLoss()
    {
        if (m_isExpected)
            __lsan_enable();
    }

private:
    bool m_isExpected;
};

}
