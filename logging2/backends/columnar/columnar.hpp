#pragma once

/// The whole public surface of the back-end that keeps runs in memory, column by column.

#include <logging2/backends/columnar/ColumnarDatastore.hpp>
#include <logging2/backends/columnar/ColumnarOptions.hpp>
#include <logging2/backends/columnar/ColumnarStreamReader.hpp>
#include <logging2/backends/columnar/ColumnarStreamWriter.hpp>
#include <logging2/backends/columnar/export.hpp>
#include <logging2/backends/columnar/register_columnar_backend.hpp>
