// Documents that are refused, with the place of the fault, and documents that are taken.
#ifndef VELMORA_TESTS_PLATFORM_XMLCASES_H
#define VELMORA_TESTS_PLATFORM_XMLCASES_H

#include <cstdint>
#include <string>
#include <string_view>

namespace velmora::test {

using namespace std::string_view_literals;

// What a plain strict processor may say of a document besides.
enum class Opinion {
    Same,
    TakesIt,    // it takes what we refuse
    RefusesIt,  // it refuses what we take
    Varies,     // processors differ
};

struct XmlCase {
    std::string_view bytes;
    int32_t line;  // 0: taken
    int32_t column;
    Opinion others = Opinion::Same;
};

inline constexpr XmlCase kRefused[] = {
    // The root.
    {""sv, 1, 1},
    {" \n"sv, 2, 1},
    {"<!-- c -->"sv, 1, 11},
    {"<a/><b/>"sv, 1, 5},
    {"<a></a>\n<a></a>"sv, 2, 1},
    {"<a/>x"sv, 1, 5},
    {"x<a/>"sv, 1, 1},
    {"<a/>&amp;"sv, 1, 5},
    {"<a/></a>"sv, 1, 5},
    {"</a>"sv, 1, 1},
    {"<![CDATA[x]]><a/>"sv, 1, 1},
    {"<a/><![CDATA[x]]>"sv, 1, 5},
    {"<a/>\0"sv, 1, 5, Opinion::Varies},
    // Tags.
    {"<a>"sv, 1, 4},
    {"<a><b></a>"sv, 1, 7},
    {"<a></b>"sv, 1, 4},
    {"<a>\n<b>x</c></a>"sv, 2, 5},
    {"<a"sv, 1, 3},
    {"<a "sv, 1, 4},
    {"<a/"sv, 1, 4},
    {"<a/ >"sv, 1, 4},
    {"<"sv, 1, 2},
    {"<a><"sv, 1, 5},
    {"<a></"sv, 1, 6},
    {"<a></a"sv, 1, 7},
    {"<a></a x>"sv, 1, 8},
    {"<a></ a>"sv, 1, 6},
    {"< a/>"sv, 1, 2},
    {"<1/>"sv, 1, 2},
    {"<-a/>"sv, 1, 2},
    {"<.a/>"sv, 1, 2},
    {"<a$/>"sv, 1, 3},
    {"<a\xC3\x97/>"sv, 1, 3},
    {"<\xC2\xB7/>"sv, 1, 2},
    {"<a><>x</></a>"sv, 1, 5},
    {"<a><b/</a>"sv, 1, 7},
    // Attributes.
    {"<a x='1' x='2'/>"sv, 1, 10},
    {"<a x='1' y='2' x=\"1\"/>"sv, 1, 16},
    {"<a x='<'/>"sv, 1, 7},
    {"<a x=1/>"sv, 1, 6},
    {"<a x/>"sv, 1, 5},
    {"<a x='1'y='2'/>"sv, 1, 9},
    {"<a x='1\"/>"sv, 1, 11},
    {"<a x='&'/>"sv, 1, 8},
    {"<a x='&y;'/>"sv, 1, 7},
    {"<a 'x'/>"sv, 1, 4},
    {"<a x=/>"sv, 1, 6},
    {"<a ='x'/>"sv, 1, 4},
    {"<a x='\x01'/>"sv, 1, 7},
    // References.
    {"<a>a & b</a>"sv, 1, 7},
    {"<a>&</a>"sv, 1, 5},
    {"<a>&x;</a>"sv, 1, 4},
    {"<a>&nbsp;</a>"sv, 1, 4},
    {"<a>&AMP;</a>"sv, 1, 4},
    {"<a>&amp</a>"sv, 1, 8},
    {"<a>&amp ;</a>"sv, 1, 8},
    {"<a>&#;</a>"sv, 1, 6},
    {"<a>&#x;</a>"sv, 1, 7},
    {"<a>&#X41;</a>"sv, 1, 6},
    {"<a>&#12a;</a>"sv, 1, 8},
    {"<a>&#xfg;</a>"sv, 1, 8},
    {"<a>&#65</a>"sv, 1, 8},
    {"<a>&#0;</a>"sv, 1, 4},
    {"<a>&#x0;</a>"sv, 1, 4},
    {"<a>&#xD800;</a>"sv, 1, 4},
    {"<a>&#xDFFF;</a>"sv, 1, 4},
    {"<a>&#xFFFE;</a>"sv, 1, 4},
    {"<a>&#xFFFF;</a>"sv, 1, 4},
    {"<a>&#x110000;</a>"sv, 1, 4},
    {"<a>&#4294967361;</a>"sv, 1, 4},
    {"<a>&#99999999999999999999;</a>"sv, 1, 4},
    {"<a x='&#0;'/>"sv, 1, 7},
    // Text.
    {"<a>]]></a>"sv, 1, 4},
    {"<a>x]]]></a>"sv, 1, 6},
    {"<a>\x01</a>"sv, 1, 4},
    {"<a>\x0B</a>"sv, 1, 4},
    {"<a>\x1F</a>"sv, 1, 4},
    {"<a>x\0y</a>"sv, 1, 5},
    {"<a>\xEF\xBF\xBE</a>"sv, 1, 4},
    {"<a>\xEF\xBF\xBF</a>"sv, 1, 4},
    // Comments, sections, instructions.
    {"<a><!-- a -- b --></a>"sv, 1, 13},
    {"<a><!-- a ---></a>"sv, 1, 13},
    {"<a><!--></a>"sv, 1, 13},
    {"<a><!-- a </a>"sv, 1, 15},
    {"<a><!- a --></a>"sv, 1, 4},
    {"<a><!-- \x02 --></a>"sv, 1, 9},
    {"<a><![CDATA[x</a>"sv, 1, 18},
    {"<a><![CDATA[\x02]]></a>"sv, 1, 13},
    {"<a><![cdata[x]]></a>"sv, 1, 4},
    {"<a><!b></a>"sv, 1, 4},
    {"<a><?p x</a>"sv, 1, 13},
    {"<a><?p? ?></a>"sv, 1, 7},
    {"<a><? p ?></a>"sv, 1, 6},
    {"<a><?XML x?></a>"sv, 1, 4},
    {"<a><?xMl?></a>"sv, 1, 4},
    // The declaration.
    {" <?xml version='1.0'?><a/>"sv, 1, 2},
    {"<!-- --><?xml version='1.0'?><a/>"sv, 1, 9},
    {"<a><?xml version='1.0'?></a>"sv, 1, 4},
    {"<?xml?><a/>"sv, 1, 1},
    {"<?xml ?><a/>"sv, 1, 7},
    {"<?xml encoding='utf-8'?><a/>"sv, 1, 7},
    {"<?xml version='1.0' standalone='maybe'?><a/>"sv, 1, 39},
    {"<?xml version='1.0' standalone='yes' encoding='utf-8'?><a/>"sv, 1, 38},
    {"<?xml version='1.0'encoding='utf-8'?><a/>"sv, 1, 20},
    {"<?xml version='1.0' x='y'?><a/>"sv, 1, 21},
    {"<?xml version=1.0?><a/>"sv, 1, 15},
    {"<?xml version='1.0'><a/>"sv, 1, 20},
    {"<?xml version='2.0'?><a/>"sv, 1, 20, Opinion::Varies},
    {"<?xml version='1.1'?><a/>"sv, 1, 20, Opinion::TakesIt},
    // Encodings.
    {"<a>\xE4</a>"sv, 1, 4},
    {"<a>\xC3</a>"sv, 1, 4},
    {"<a>\xC0\x80</a>"sv, 1, 4},
    {"<a>\xED\xA0\x80</a>"sv, 1, 4},
    {"<a>\xF4\x90\x80\x80</a>"sv, 1, 4},
    {"<a>\xFF</a>"sv, 1, 4},
    {"<a>x\n\xC3\xA4\xE4</a>"sv, 2, 2},
    {"<a>\r\n\r\xE4</a>"sv, 3, 1},
    {"\xE4<a/>"sv, 1, 1},
    {"<?xml version='1.0' encoding='klingon'?><a/>"sv, 1, 1},
    {"<?xml version='1.0' encoding=''?><a/>"sv, 1, 32},
    {"<?xml version='1.0' encoding='us-ascii'?><a>\xC3\xA4</a>"sv, 1, 45},
    {"<?xml version='1.0' encoding='UTF-16'?><a/>"sv, 1, 1, Opinion::Varies},
    {"\xEF\xBB\xBF<?xml version='1.0' encoding='iso-8859-1'?><a/>"sv, 1, 1, Opinion::TakesIt},
    {"\xFF\xFE<\0a\0/\0>"sv, 1, 4},
    {"\xFF\xFE<\0a\0>\0\0\xD8<\0/\0a\0>\0"sv, 1, 4},
    {"\xFF\xFE<\0a\0>\0\0\xDC<\0/\0a\0>\0"sv, 1, 4},
    {"<\0a\0/\0>\0"sv, 1, 2, Opinion::Varies},
    // What could lead to other files, or grow.
    {"<!DOCTYPE a><a/>"sv, 1, 1, Opinion::TakesIt},
    {"<!DOCTYPE a SYSTEM 'other.dtd'><a/>"sv, 1, 1, Opinion::TakesIt},
    {"<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>"sv, 1, 1, Opinion::TakesIt},
    {"<!DOCTYPE a [<!ENTITY x SYSTEM 'other.xml'>]><a>&x;</a>"sv, 1, 1, Opinion::TakesIt},
    {"<a/><!DOCTYPE a>"sv, 1, 5},
};

inline constexpr XmlCase kTaken[] = {
    {"<a/>"sv, 0, 0},
    {"<a></a>"sv, 0, 0},
    {"<a ></a >"sv, 0, 0},
    {"\n<!-- c --><?p?><a/>\n<?p q?><!----> \t\r\n"sv, 0, 0},
    {"<a b='1' c=\"2\"\n\td = '3' />"sv, 0, 0},
    {"<a b='\"' c=\"'\" d='>'/>"sv, 0, 0},
    {"<a>&amp;&lt;&gt;&quot;&apos;&#65;&#x41;&#0000000000065;&#x10FFFF;</a>"sv, 0, 0},
    {"<a>]] > ]></a>"sv, 0, 0},
    {"<a><![CDATA[<&]]]></a>"sv, 0, 0},
    {"<a><![CDATA[]]></a>"sv, 0, 0},
    {"<a><!-- - < & ]]> --></a>"sv, 0, 0},
    {"<a><?p ? > <?></a>"sv, 0, 0},
    {"<?xml version=\"1.0\"?><a/>"sv, 0, 0},
    {"<?xml version='1.0' encoding='UTF-8' standalone='no' ?><a/>"sv, 0, 0},
    {"<?xml  version = '1.0'\n?><a/>"sv, 0, 0},
    {"<?xml version='1.0' encoding='Windows-1252'?><a>\x80\x81\xE4</a>"sv, 0, 0, Opinion::Varies},
    {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\x80\xE4</a>"sv, 0, 0},
    {"<?xml version='1.0' encoding='US-ASCII'?><a>x</a>"sv, 0, 0},
    {"\xEF\xBB\xBF<a>\xC3\xA4</a>"sv, 0, 0},
    {"\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?><a/>"sv, 0, 0},
    {"\xFF\xFE<\0a\0/\0>\0"sv, 0, 0},
    {"\xFE\xFF\0<\0a\0/\0>"sv, 0, 0},
    {"\xFF\xFE<\0a\0>\0=\xD8\0\xDE<\0/\0a\0>\0"sv, 0, 0},
    {"<_a-.9\xC2\xB7/>"sv, 0, 0},
    {"<\xC3\xA4\xCE\xB1/>"sv, 0, 0},
    {"<a>\xC2\x80\xC2\x9F\x7F</a>"sv, 0, 0},
    // The writers of index files make these.
    {"<a>&#1;&#x1f;</a>"sv, 0, 0, Opinion::RefusesIt},
    {"<a b='&#x8;'/>"sv, 0, 0, Opinion::RefusesIt},
};

}  // namespace velmora::test

#endif
