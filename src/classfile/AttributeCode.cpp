#include "classfile/AttributeCode.h"

#include "classfile/ByteStream.h"
#include "classfile/ConstantPool.h"
#include "classfile/ReadError.h"

namespace classfile {

AttributeCode::AttributeCode(ByteStream& in, ConstantPool& pool_, const AttributeHeader& header)
    : Attribute(AttributeKind::Code, pool_, header.index, header.length) {
    // Each level costs a few stack frames; a damaged file could otherwise nest until the stack
    // runs out.
    if (header.depth > MAX_CODE_DEPTH)
        failRead("Code attributes nest too deeply",
                 formatText("Reading TKB failed: Code attributes nest deeper than %d levels",
                            MAX_CODE_DEPTH));
    max_stack = in.readU2();
    max_locals = in.readU2();
    code_length = static_cast<int32_t>(in.readU4());
    if (code_length > 0) {
        ByteStream::Section section(in, "the code bytes");
        code = Bytes(in.readView(static_cast<uint32_t>(code_length)));
        pool_.keepInput(in);
    }
    {
        ByteStream::Section section(in, "the exception table");
        exception_table_length = in.readU2();
        reserveForCount(exceptions, pool_.arena(), exception_table_length, in.remaining(), 8);
        for (uint16_t i = 0; i < exception_table_length; ++i) {
            ExceptionInfo row{0, 0, 0, 0, &pool_};
            row.start_pc = in.readU2();
            row.end_pc = in.readU2();
            row.handler_pc = in.readU2();
            row.catch_type = in.readU2();
            exceptions.emplace_back(row);
        }
    }
    attributes_count = in.readU2();
    readAttributes(in, attributes_count, pool_, attributes, header.depth + 1);
}

} // namespace classfile
