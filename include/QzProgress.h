/// @file
/// How a conversation tells its progress.
#pragma once

/// @addtogroup shared
/// @{

/// Is told how far a conversation has come. Should not throw: that ends the call with E_PROXY.
/// @param context what was given together with the handler
/// @param attempts replies so far, 1 at first
/// @param waited seconds since the conversation began
/// @param limit time limit in seconds
using qzProgressHandler = void(__cdecl*)(void* context, long attempts, double waited, long limit);

/// @}
