// Everything a GenApi client includes.
#pragma once

#include "GenICam/exceptions.h"
#include "GenICam/gcstring.h"
#include "GenApi/Callback.h"
#include "GenApi/Filestream.h"
#include "GenApi/Interfaces.h"
#include "GenApi/MemoryPort.h"
#include "GenApi/NodeMapRef.h"
#include "GenApi/Pointer.h"
#include "GenApi/Synch.h"
#include "GenApi/Types.h"
