// Parameters may be set without an instrument: a connection listener is registered, and nothing
// searches for one.
#pragma once

#include "device/Connection.h"

class RegisteredListener {
public:
    RegisteredListener() { g_ConnectedCallback = &Ignore; }
    ~RegisteredListener() { g_ConnectedCallback = nullptr; }
    RegisteredListener(const RegisteredListener&) = delete;
    RegisteredListener& operator=(const RegisteredListener&) = delete;

private:
    static void Ignore(bool) {}
};
