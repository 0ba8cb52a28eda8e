#pragma once

/// All nodes, for visitors.

#include "varnox/eqn/BinaryExprs.h"
#include "varnox/eqn/ConstantExpr.h"
#include "varnox/eqn/DivideExpr.h"
#include "varnox/eqn/NegateExpr.h"
#include "varnox/eqn/OneArgFuncExpr.h"
#include "varnox/eqn/PowerExpr.h"
#include "varnox/eqn/TwoArgFuncExpr.h"
#include "varnox/eqn/VarArgFuncExpr.h"
#include "varnox/eqn/VariableExpr.h"
