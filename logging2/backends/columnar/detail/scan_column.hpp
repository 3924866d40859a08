#pragma once

#include <logging2/backends/columnar/detail/GroupView.hpp>
#include <logging2/runs/Run.hpp>

#include <cstddef>
#include <vector>

namespace logging2::core::detail {

/// A series of the spans: a view if there is only one, otherwise a copy.
Series series_of(const std::vector<RowSpan>& spans, const ColumnPlace& column);

/// What is known about the samples of a column. Examines all of them.
SignalSummary summary_of(const GroupView& group, const ColumnPlace& column);

/// The samples of a column in [from, to], divided into buckets. See Run::overview().
Overview overview_of(const GroupView& group, const ColumnPlace& column, double from, double to,
                     std::size_t bucketCount);

/// An element of a column in [from, to], divided into buckets. See Run::outline().
Outline outline_of(const GroupView& group, const ColumnPlace& column, std::size_t element,
                   double from, double to, std::size_t bucketCount);

} // namespace logging2::core::detail
