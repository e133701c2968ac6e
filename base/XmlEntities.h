#pragma once

// What the entities that an XML document declares may make of it.

class QXmlInputSource;

/// More entities than this are too many: the parser compares each with each.
constexpr int MAX_XML_ENTITIES = 1024;

/// The entities may expand to this many characters (as QString counts them), plus this many times
/// the size of the file in bytes. Every use of an entity counts with its text as declared, wherever
/// the use stands: in content, in attributes, in other entities, in the declarations themselves.
/// Characters of markup (< & = ' ") count 65 times, since a short tag takes hundreds of bytes in
/// memory.
constexpr long long FREE_XML_EXPANSION = 64LL << 20;
constexpr long long MAX_XML_EXPANSION_FACTOR = 16;

enum class xml_entities_t { bounded, tooLarge, malformed };

/// Reads the document of `source`, which takes `size` bytes, without keeping anything of it, and
/// tells whether its entities keep within these limits, and within the limit of the parser itself
/// for entities that use each other (some thousand characters). Ends at the first fault.
xml_entities_t measureXmlEntities(const QXmlInputSource& source, long long size);
