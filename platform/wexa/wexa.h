/*
 * wexa: stands in for the platform's closed library of that name on machines that are not the device.
 * It has the one function that the agent calls.
 */
#ifndef WEXA_H
#define WEXA_H

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Returns a copy of the text in which the five special characters of XML stand as entities: & as &amp;,
 * < as &lt;, > as &gt;, " as &quot; and ' as &apos;. All other bytes are copied as they are.
 *
 * The copy comes from malloc and belongs to the caller, who frees it. Returns null when the text is null or
 * memory has run out.
 */
__attribute__((visibility("default"))) char *wexa_xml_escape(const char *text);

#ifdef __cplusplus
}
#endif

#endif
