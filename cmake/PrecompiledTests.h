// What every test file needs, parsed once a test executable.
#pragma once
#include "Precompiled.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
