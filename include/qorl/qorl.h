// Everything of the public API in one include.
#pragma once

#include "qorl/diagnostics.h"
#include "qorl/generate.h"
#include "qorl/load.h"
#include "qorl/log.h"
#include "qorl/repository.h"
#include "qorl/sample.h"
#include "qorl/version.h"
