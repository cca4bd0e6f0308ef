#include "Views/MarkdownParser.h"

#include "Views/BlockCollector.h"

#include <limits>

namespace tessarin
{

namespace
{

MD_PARSER callbacks()
{
    MD_PARSER parser = {};
    parser.flags = MD_DIALECT_GITHUB | MD_FLAG_NOHTML;
    parser.enter_block = [](MD_BLOCKTYPE type, void* detail, void* collector) {
        static_cast<BlockCollector*>(collector)->enterBlock(type, detail);
        return 0;
    };
    parser.leave_block = [](MD_BLOCKTYPE type, void*, void* collector) {
        static_cast<BlockCollector*>(collector)->leaveBlock(type);
        return 0;
    };
    parser.enter_span = [](MD_SPANTYPE type, void* detail, void* collector) {
        static_cast<BlockCollector*>(collector)->enterSpan(type, detail);
        return 0;
    };
    parser.leave_span = [](MD_SPANTYPE type, void*, void* collector) {
        static_cast<BlockCollector*>(collector)->leaveSpan(type);
        return 0;
    };
    parser.text = [](MD_TEXTTYPE type, const MD_CHAR* text, MD_SIZE size, void* collector) {
        static_cast<BlockCollector*>(collector)->addText(type, text, size);
        return 0;
    };
    return parser;
}

} // namespace

QList<TextBlock> parseMarkdown(std::string_view text)
{
    static const MD_PARSER parser = callbacks();
    BlockCollector collector;
    if (text.size() > std::numeric_limits<MD_SIZE>::max()
        || md_parse(text.data(), static_cast<MD_SIZE>(text.size()), &parser, &collector) != 0) {
        return { plainBlock(text) };
    }
    return collector.take();
}

TextBlock plainBlock(std::string_view text)
{
    TextBlock block;
    block.content = StyledRuns::fromText(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    return block;
}

} // namespace tessarin
