#pragma once

/// The whole public surface of the reading side: what a program needs to read a finished or a
/// growing run, wherever it is stored.

#include <logging2/runs/Outline.hpp>
#include <logging2/runs/Overview.hpp>
#include <logging2/runs/Run.hpp>
#include <logging2/runs/Series.hpp>
