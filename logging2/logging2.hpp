#pragma once

/// The whole public surface of logging2.

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>
#include <logging2/host/filesystem/ifstream.hpp>
#include <logging2/host/filesystem/operations.hpp>
#include <logging2/host/foundation/BasicTableString.hpp>
#include <logging2/host/foundation/Message.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/foundation/bundle_context.hpp>
#include <logging2/host/foundation/text_conversion.hpp>
#include <logging2/host/foundation/warnings.hpp>
#include <logging2/host/kernel/ChannelProperties.hpp>
#include <logging2/host/kernel/CoreDataId.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/kernel/type_ids.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/ids/identifiers.hpp>
#include <logging2/memory/MemoryDatastore.hpp>
#include <logging2/memory/MemoryStreamReader.hpp>
#include <logging2/memory/MemoryStreamRestrictedWriter.hpp>
#include <logging2/memory/MemoryStreamWriter.hpp>
#include <logging2/native/NativeDatastore.hpp>
#include <logging2/native/NativeStreamReader.hpp>
#include <logging2/native/NativeStreamWriter.hpp>
#include <logging2/native/StreamLocationCreator.hpp>
#include <logging2/native/StreamMetadata.hpp>
#include <logging2/stream/DataStoreInfo.hpp>
#include <logging2/stream/StreamReader.hpp>
#include <logging2/stream/StreamReaderService.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamWriterService.hpp>
#include <logging2/stream/StreamingAttributes.hpp>
#include <logging2/stream/entry_points.hpp>
#include <logging2/stream/name_stems.hpp>
