#pragma once
// Everything about tasks in one include.
#include "base/async/Await.h"
#include "base/async/Combinators.h"
#include "base/async/Completion.h"
#include "base/async/Executor.h"
#include "base/async/Offload.h"
#include "base/async/Task.h"
#include "base/async/TaskScope.h"
#include "base/async/WorkerPool.h"
