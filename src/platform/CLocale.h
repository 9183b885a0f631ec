// Numbers are written and read with a point, whatever locale the application has set.
#pragma once

#include <locale.h>

// The "C" locale for the calling thread, until the end of the scope.
class CAutoCLocale {
public:
    CAutoCLocale() : previous_(uselocale(Get())) {}
    ~CAutoCLocale() { uselocale(previous_); }
    CAutoCLocale(const CAutoCLocale&) = delete;
    CAutoCLocale& operator=(const CAutoCLocale&) = delete;

private:
    static locale_t Get()
    {
        static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t previous_;
};
