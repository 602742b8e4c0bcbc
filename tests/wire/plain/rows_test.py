#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
#
# Rows with exact expectations for the plain implementation: bytes <-> JSON text, text -> bytes, refusals of bytes
# with their offset and of text with line, column and path. Run it: it prints each row that fails; status 1 then.
import sys

from wire_plain import export_bytes, import_bytes
from wire_values import BytesError, TextError

# form, bytes (hex, blanks ignored), text. Each row is checked in both directions.
BOTH = [
    ("amf0", "", '{"amf0":[]}'),
    ("amf3", "", '{"amf3":[]}'),
    ("amf0", "05 06 0d 01 00 01 01", '{"amf0":[null,{"$undefined":true},{"$unsupported":true},false,true]}'),
    ("amf0", "02 0000 02 0001 61 02 0001 ff", '{"amf0":["","a",{"$string64":"/w=="}]}'),
    ("amf0", "02 0009 22 5c 08 0c 0a 0d 09 01 2f", '{"amf0":["\\"\\\\\\b\\f\\n\\r\\t\\u0001/"]}'),
    ("amf0", "02 0003 7f c3 a9", '{"amf0":["\x7fé"]}'),
    ("amf0", "00 4014000000000000 00 3ff8000000000000", '{"amf0":[5,1.5]}'),
    ("amf0", "00 7ff8000000000000 00 7ff0000000000000 00 fff0000000000000 00 8000000000000000",
     '{"amf0":[{"$double":"NaN"},{"$double":"Infinity"},{"$double":"-Infinity"},{"$double":"-0"}]}'),
    ("amf0", "00 7ff8000000000001 00 fff8000000000000",
     '{"amf0":[{"$double":"0x7ff8000000000001"},{"$double":"0xfff8000000000000"}]}'),
    ("amf0", "00 444b1ae4d6e2ef50 00 444b1ae4d6e2ef4f 00 3eb0c6f7a0b5ed8d 00 3e7ad7f29abcaf48 00 0000000000000001",
     '{"amf0":[1e+21,999999999999999900000,0.000001,1e-7,5e-324]}'),
    ("amf0", "00 3eb0c6f7a0b5ed8c 00 44b52d02c7e14af6", '{"amf0":[9.999999999999997e-7,1e+23]}'),
    ("amf0", "03 0001 61 05 0002 2469 05 0000 09", '{"amf0":[{"a":null,"$$i":null}]}'),
    ("amf0", "03 0000 05 0000 09", '{"amf0":[{"":null}]}'),
    ("amf0", "10 0003 612e42 000009 10 0000 000009", '{"amf0":[{"$class":"a.B"},{"$class":""}]}'),
    ("amf0", "08 00000001 0001 61 05 000009 08 00000000 0001 61 05 000009",
     '{"amf0":[{"$ecma":true,"a":null},{"$ecma":0,"a":null}]}'),
    ("amf0", "0a 00000002 05 05 0a 00000000", '{"amf0":[[null,null],[]]}'),
    ("amf0", "0b 4271f71fb04cb000 0000", '{"amf0":[{"$date":"2009-02-13T23:31:30.123Z"}]}'),
    ("amf0", "0b 0000000000000000 0001", '{"amf0":[{"$date":"1970-01-01T00:00:00.000Z","$zone":1}]}'),
    ("amf0", "0b 8000000000000000 0000 0b 3fe0000000000000 0000 0b 7ff8000000000000 0000",
     '{"amf0":[{"$date":"-0"},{"$date":0.5},{"$date":"NaN"}]}'),
    ("amf0", "0b c2cc453782300000 0000 0b c2cc453782300080 0000",
     '{"amf0":[{"$date":"0000-01-01T00:00:00.000Z"},{"$date":-62167219200001}]}'),
    ("amf0", "0b 42eccefa43fb7fe0 0000 0b 42eccefa43fb8000 0000",
     '{"amf0":[{"$date":"9999-12-31T23:59:59.999Z"},{"$date":253402300800000}]}'),
    ("amf0", "0b 426bb354dc000000 ffc4", '{"amf0":[{"$date":"2000-02-29T00:00:00.000Z","$zone":-60}]}'),
    ("amf0", "0f 00000004 3c612f3e", '{"amf0":[{"$xmldoc":"<a/>"}]}'),
    ("amf0", "03 0001 61 07 0000 000009", '{"amf0":[{"$id":1,"a":{"$ref":1}}]}'),
    ("amf0", "0a 00000002 0a 00000000 07 0001", '{"amf0":[[{"$id":1,"$array":[]},{"$ref":1}]]}'),
    ("amf0", "11 04 05 11 09 01 01 05", '{"amf0":[{"$amf3":5},{"$amf3":[]},null]}'),
    # Member names that an object cannot carry.
    ("amf0", "03 0001 61 05 0001 61 06 000009", '{"amf0":[{"$members":[["a",null],["a",{"$undefined":true}]]}]}'),
    ("amf0", "03 0001 ff 05 000009", '{"amf0":[{"$members":[[{"$string64":"/w=="},null]]}]}'),
    ("amf0", "03 0001 31 05 0001 30 05 000009", '{"amf0":[{"$members":[["1",null],["0",null]]}]}'),
    ("amf0", "03 0001 30 05 0001 31 05 0001 61 05 000009", '{"amf0":[{"0":null,"1":null,"a":null}]}'),
    ("amf0", "03 0001 61 05 0001 31 05 000009", '{"amf0":[{"$members":[["a",null],["1",null]]}]}'),
    ("amf0", "03 0001 61 05 0002 3031 05 000009", '{"amf0":[{"a":null,"01":null}]}'),
    ("amf0", "03 0001 61 05 000a 34323934393637323935 05 000009", '{"amf0":[{"a":null,"4294967295":null}]}'),
    ("amf0", "03 0001 61 05 000a 34323934393637323934 05 000009",
     '{"amf0":[{"$members":[["a",null],["4294967294",null]]}]}'),
    ("amf0", "03 0001 24 05 0001 24 05 000009", '{"amf0":[{"$members":[["$",null],["$",null]]}]}'),
    # AMF3.
    ("amf0", "02 0002 1f 1b", '{"amf0":["\\u001f\\u001b"]}'),
    ("amf0", "02 ffff" + "61" * 65535 + "0c 00010000" + "61" * 65536,
     '{"amf0":["' + "a" * 65535 + '","' + "a" * 65536 + '"]}'),
    ("amf3", "04 7f 04 8100 04 c000 04 ff7f 04 818000 04 ffff7f 04 80c08000",
     '{"amf3":[127,128,8192,16383,16384,2097151,2097152]}'),
    ("amf3", "0a 0b 01 01 0a 0b 01 01 0a 01 01", '{"amf3":[{},{},{}],"original":"CgsBAQoLAQEKAQE="}'),
    ("amf3", "0a 07 07 445341 40 04 05 00", '{"amf3":[{"$external":"DSA","timeToLive":5}]}'),
    ("amf3", "0a 17 07 445341 03 61 00 00", '{"amf3":[{"$external":"DSA"}],"original":"ChcHRFNBA2EAAA=="}'),
    ("amf3", "0a 17 07 445341 03 61 00 00 0a 17 00 03 62 00 00",
     '{"amf3":[{"$external":"DSA"},{"$external":"DSA"}],'
     '"original":"ChcHRFNBA2EAAAoXAANiAAA="}'),
    ("amf3", "00 01 02 03 04 00 04 ffffffff 04 c0808000 04 bfffffff",
     '{"amf3":[{"$undefined":true},null,false,true,0,-1,-268435456,268435455]}'),
    ("amf3", "04 05 05 4014000000000000 05 3ff8000000000000 05 8000000000000000",
     '{"amf3":[5,{"$double":5},1.5,{"$double":"-0"}]}'),
    ("amf3", "04 05 05 41b0000000000000 05 c1b0000000000000", '{"amf3":[5,268435456,{"$double":-268435456}]}'),
    ("amf3", "05 4014000000000000", '{"amf3":[5],"integers":false}'),
    ("amf3", "05 8000000000000000", '{"amf3":[{"$double":"-0"}]}'),
    ("amf3", "06 01 06 03 61 06 00 06 03 ff", '{"amf3":["","a","a",{"$string64":"/w=="}]}'),
    ("amf3", "06 03 61 06 03 61", '{"amf3":["a","a"],"stringReferences":false}'),
    ("amf3", "06 03 61 06 03 61 06 00", '{"amf3":["a","a","a"],"original":"BgNhBgNhBgA="}'),
    ("amf3", "07 09 3c612f3e 0b 09 3c612f3e 0c 05 0102",
     '{"amf3":[{"$xmldoc":"<a/>"},{"$xml":"<a/>"},{"$bytes":"AQI="}]}'),
    ("amf3", "0c 03 01 0c 00", '{"amf3":[{"$id":1,"$bytes":"AQ=="},{"$ref":1}]}'),
    ("amf3", "08 01 0000000000000000 08 00", '{"amf3":[{"$id":1,"$date":"1970-01-01T00:00:00.000Z"},{"$ref":1}]}'),
    ("amf3", "09 03 01 01 09 03 03 61 02 01 01", '{"amf3":[[null],{"a":false,"$array":[null]}]}'),
    ("amf3", "0a 0b 01 03 61 01 01", '{"amf3":[{"a":null}]}'),
    ("amf3", "0a 0b 01 01 0a 03 01", '{"amf3":[{},{"$dynamic":false}]}'),
    ("amf3", "0a 13 01 03 61 01", '{"amf3":[{"$sealed":true,"a":null}]}'),
    ("amf3", "0a 1b 01 03 61 01 01", '{"amf3":[{"$sealed":true,"$dynamic":true,"a":null}]}'),
    ("amf3", "0a 13 07 612e42 03 61 01", '{"amf3":[{"$class":"a.B","a":null}]}'),
    ("amf3", "0a 1b 07 612e42 03 61 01 01", '{"amf3":[{"$class":"a.B","$dynamic":true,"a":null}]}'),
    ("amf3", "0a 1b 07 612e42 03 61 01 03 62 01 01", '{"amf3":[{"$class":"a.B","$sealed":1,"a":null,"b":null}]}'),
    ("amf3", "0a 0b 07 612e42 03 61 01 01", '{"amf3":[{"$class":"a.B","$sealed":0,"a":null}]}'),
    ("amf3", "0a 0b 07 612e42 01", '{"amf3":[{"$class":"a.B","$dynamic":true}]}'),
    ("amf3", "0a 13 01 01 01", '{"amf3":[{"$sealed":true,"":null}]}'),
    ("amf3", "0a 13 07 612e42 03 61 01 0a 01 02", '{"amf3":[{"$class":"a.B","a":null},{"$class":"a.B","a":false}]}'),
    ("amf3", "0a 0b 01 01 0a 0b 01 01", '{"amf3":[{},{}],"traitsReferences":false}'),
    ("amf3", "0a 0b 01 03 61 0a 00 01", '{"amf3":[{"$id":1,"a":{"$ref":1}}]}'),
    ("amf3", "0a 07 07 445341 81 02 04 05 04 06 00", '{"amf3":[{"$external":"DSA","body":5,"messageIdBytes":6}]}'),
    ("amf3", "0a 07 07 445343 00 00 03 04 07 04 08", '{"amf3":[{"$external":"DSC","operation":7,"$2.0.1":8}]}'),
    ("amf3", "0a 07 07 44534b 80 04 01 00 01 01", '{"amf3":[{"$external":"DSK","$0.1.2":null,"$2.0.0":null}]}'),
    ("amf3", "0a 0f 29 " + b"mx.utils.ObjectProxy".hex() + " 01",
     '{"amf3":[{"$external":"mx.utils.ObjectProxy","$dynamic":true,"$value":null}]}'),
    ("amf3", "0d 05 00 ffffffff 00000001 0e 03 01 ffffffff",
     '{"amf3":[{"$vector":"int","$items":[-1,1]},{"$vector":"uint","$fixed":true,"$items":[4294967295]}]}'),
    ("amf3", "0f 05 00 4014000000000000 8000000000000000",
     '{"amf3":[{"$vector":"double","$items":[5,{"$double":"-0"}]}]}'),
    ("amf3", "10 03 01 07 612e42 01", '{"amf3":[{"$vector":"object","$type":"a.B","$fixed":true,"$items":[null]}]}'),
    ("amf3", "11 03 00 04 01 04 02 11 01 01", '{"amf3":[{"$dictionary":[[1,2]]},{"$dictionary":[],"$weak":true}]}'),
    ("amf3", "04 80 05", '{"amf3":[5],"original":"BIAF"}'),
    # Packets.
    ("packet", "0003 0000 0000", '{"amf":3,"headers":[],"messages":[]}'),
    ("packet", "0000 0000 0000 ff", '{"amf":0,"headers":[],"messages":[],"trailing":"/w=="}'),
    ("packet", "0000 0001 0001 61 01 00000001 05 0000",
     '{"amf":0,"headers":[{"name":"a","mustUnderstand":true,"value":null}],"messages":[]}'),
    ("packet", "0000 0001 0001 61 02 ffffffff 05 0000",
     '{"amf":0,"headers":[{"name":"a","mustUnderstand":2,"length":"unknown","value":null}],"messages":[]}'),
    ("packet", "0000 0000 0001 0001 61 0000 00000007 05",
     '{"amf":0,"headers":[],"messages":[{"target":"a","response":"","length":7,"value":null}]}'),
    ("packet", "0000 0000 0001 0000 0000 00000002 01 05",
     '{"amf":0,"headers":[],"messages":[{"target":"","response":"","value":true,"original":"AQU="}]}'),
    # Shared objects.
    ("sol", "00bf 00000011 54435 34f 000400000000 0001 61 00000000", '{"sol":"a","amf":0,"entries":{}}'),
    ("sol", "00bf 00000016 5443534f 000400000000 0001 61 00000000 0001 62 05 00",
     '{"sol":"a","amf":0,"entries":{"b":null}}'),
    ("sol", "00bf 00000015 5443534f 000400000000 0001 61 00000000 0001 62 05",
     '{"sol":"a","amf":0,"entries":{"b":null},"original":"AAFiBQ=="}'),
    ("sol", "00bf 00000018 5443534f 000400000000 0001 61 00000000 0001 62 07 0000 00",
     '{"sol":"a","amf":0,"entries":{"$id":1,"b":{"$ref":1}}}'),
    ("sol", "00bf 00000016 5443534f 000400000000 0001 61 00000000 0001 62 05 00 ff",
     '{"sol":"a","amf":0,"entries":{"b":null},"trailing":"/w=="}'),
    ("sol", "00bf 00000001 5443534f 000400000000 0001 61 00000003 03 62 05 3ff0000000000000 00",
     '{"sol":"a","amf":3,"size":1,"entries":{"b":1},"integers":false}'),
]

# form, bytes, text: export only.
EXPORTS = [
    ("flv", "464c56 01 05 00000009 00000000 12 000000 000000 80 000000",
     '{"flv":[{"time":-2147483648,"values":[]}]}'),
    ("flv", "464c56 01 05 00000009 00000000 12 000001 000028 01 000000 05 0000000c",
     '{"flv":[{"time":16777256,"values":[null]}]}'),
    ("flv", "464c56 01 05 00000009", '{"flv":[]}'),
    ("flv", "464c56 01 05 00000009 00000000 0f 000002 ffffff ff 000000 00 05 00000000 32 000001 000000 00 000000 ff",
     '{"flv":[{"time":-1,"values":[null]}]}'),
    ("flv", "464c56 01 05 00000009 00000000 12 00000a 000000 00 000000 11 05 4014000000000000",
     '{"flv":[{"time":0,"values":[{"$amf3":{"$double":5}}]}]}'),
]

# form, bytes, text with salvage; imported again, the text writes the bytes.
SALVAGED = [
    ("packet", "0000 0000 0001 0000 0000 00000001 04",
     '{"amf":0,"headers":[],"messages":[{"target":"","response":"","raw":"BA==",'
     '"error":"offset 14: movie clip (04) is reserved"}]}'),
    ("packet", "0000 0000 0002 0001 61 0000 00000002 04ff 0001 62 0000 00000001 05",
     '{"amf":0,"headers":[],"messages":[{"target":"a","response":"","raw":"BP8=",'
     '"error":"offset 15: movie clip (04) is reserved"},'
     '{"target":"b","response":"","value":null}]}'),
    ("packet", "0000 0000 0002 0001 61 0000 00000001 05 0001 62 0000 00000002 04",
     '{"amf":0,"headers":[],"messages":[{"target":"a","response":"","value":null}],"messageCount":2,'
     '"trailing":"AAFiAAAAAAACBA==","error":"offset 25: movie clip (04) is reserved"}'),
    ("packet", "0000 0001 0001 61 00 ffffffff 04 0000",
     '{"amf":0,"headers":[],"headerCount":1,"messages":[],"trailing":"AAFhAP////8EAAA=",'
     '"error":"offset 12: movie clip (04) is reserved"}'),
]

SALVAGED += [
    ("amf0", "05 04", '{"amf0":[],"trailing":"BQQ=","error":"offset 1: movie clip (04) is reserved"}'),
    ("sol", "00bf 00000016 5443534f 000400000000 0001 61 00000000 0001 62 04 00",
     '{"sol":"a","amf":0,"size":22,"entries":{},"trailing":"AAFiBAA=",'
     '"error":"offset 26: movie clip (04) is reserved"}'),
]

# The same, export only.
SALVAGED_FLV = [
    ("flv", "464c56 01 05 00000009 00000000 0f 000002 000000 00 000000 01 05 00000000 12 000001 000000",
     '{"flv":[{"time":0,"raw":"AQU=","error":"offset 24: first byte 00 expected"}],"trailing":"EgAAAQAAAA==",'
     '"error":"offset 37: time stamp of 1 bytes does not fit, 0 remain"}'),
    ("flv", "464c56 01 05 00000009 00000000 12 000000 000000 00 000000 0000",
     '{"flv":[{"time":0,"values":[]}],"trailing":"AAA=",'
     '"error":"offset 24: size of the tag before of 4 bytes does not fit, 2 remain"}'),
]

# text, form, bytes: import only.
IMPORTS = [
    ('{"source":{"a":1,"a":2},"amf0":[]}', "amf0", ""),
    ('{"amf0":[0e999999999999]}', "amf0", "00 0000000000000000"),
    ('{"amf3":[4.99999999999999999999,1e-400,1e23]}', "amf3", "04 05 04 00 05 44b52d02c7e14af6"),
    ('{"amf3":[{"$vector":"int","$items":[-1e-400,5.0]}]}', "amf3", "0d 05 00 00000000 00000005"),
    ('{"amf3":[{"$vector":{"$string64":"aW50"},"$items":[]}]}', "amf3", "0d 01 00"),
    ('{"amf0":["\\ud800\\udc00"]}', "amf0", "02 0004 f0908080"),
    ('{"amf":0,"headers":[],"messages":[{"target":"","response":"","value":null,"original":"BQU="}]}', "packet",
     "0000 0000 0001 0000 0000 00000001 05"),
    ('{"amf3":[5.0,1e2,-0,268435456]}', "amf3", "04 05 04 64 05 8000000000000000 05 41b0000000000000"),
    ('{"integers":false,"amf3":[5]}', "amf3", "05 4014000000000000"),
    ('{"amf3":[{"$array":[{"$ref":1}],"a":{"$id":1,"$bytes":""}}]}', "amf3", "09 03 03 61 0c 01 01 0c 02"),
    ('{"amf3":[{"messageIdBytes":6,"$external":"DSA","body":5}]}', "amf3", "0a 07 07 445341 81 02 04 05 04 06 00"),
    ('{"amf0":[{"$date":"1970-01-01T00:00:00Z","$zone":0}]}', "amf0", "0b 0000000000000000 0000"),
    ('{"amf0":[{"$date":"2000-02-29T00:00:00Z"}]}', "amf0", "0b 426bb354dc000000 0000"),
    ('{"amf0":[{"$class":""}],"source":{"file":[1]},"error":"x"}', "amf0", "10 0000 000009"),
    ('{"amf3":[{"$class":""}]}', "amf3", "0a 0b 01 01"),
    # The original is written only while the value still says the same.
    ('{"amf3":[5],"original":"BIAF"}', "amf3", "04 80 05"),
    ('{"amf3":[6],"original":"BIAF"}', "amf3", "04 06"),
    ('{"amf3":[5],"original":"BIA="}', "amf3", "04 05"),
    ('{"amf0":["\\u00e9\\ud83d\\ude00\\/"]}', "amf0", "02 0007 c3a9 f09f9880 2f"),
]

# form, bytes, offset.
REFUSED_BYTES = [
    ("amf0", "04", 0),
    ("amf0", "0e", 0),
    ("amf0", "09", 0),
    ("amf0", "12", 0),
    ("amf0", "05 00 00", 2),
    ("amf0", "02 00", 1),
    ("amf0", "02 0002 61", 3),
    ("amf0", "03 0001 61 09", 4),
    ("amf0", "03 0000", 3),
    ("amf0", "07 0000", 1),
    ("amf0", "03 000009 07 0001", 5),
    ("amf0", "0a 00000002 05", 6),
    ("amf0", "0a ffffffff", 5),
    ("amf0", "0b 0000000000000000 00", 9),
    ("amf0", "0c 00000001", 5),
    ("amf0", "11 12", 1),
    ("amf0", "01", 1),
    ("amf0", "11 09 01 01 07 0000", 5),
    ("amf3", "12", 0),
    ("amf3", "04 80", 1),
    ("amf3", "04 ffffff", 1),
    ("amf3", "05 00", 1),
    ("amf3", "06 00", 1),
    ("amf3", "06 05 61", 2),
    ("amf3", "09 00", 1),
    ("amf3", "09 01 01 0a 00", 4),
    ("amf3", "07 01 0b 00", 3),
    ("amf3", "0a 01", 1),
    ("amf3", "0a 07 03 61 ff", 4),
    ("amf3", "0a 13 01 03", 4),
    ("amf3", "0d 03 00 000000", 3),
    ("amf3", "0d 03", 2),
    ("amf3", "10 01 00", 3),
    ("amf3", "11 03 00 01", 4),
    ("amf3", "0a 07 07 445341" + "80" * 16 + "00", 22),
    ("amf3", "08 00", 1),
    ("packet", "00", 0),
    ("packet", "0000 00", 2),
    ("packet", "0000 0000", 4),
    ("packet", "0000 0000 0001 0001", 8),
    ("packet", "0000 0000 0001 0000 0000 000000", 10),
    ("packet", "0000 0000 0001 0000 0000 00000000", 14),
    ("sol", "00be", 0),
    ("sol", "00bf 00000016 5443534f 000400000000 0001 61 00000001", 19),
    ("sol", "00bf 00000016 5443534f 000400000000 0001 61 00000000 0001 62 05 01", 27),
    ("flv", "464c5601", 4),
    ("flv", "464c56 01 05 0000000a", 9),
    ("flv", "464c56 01 05 00000008", 5),
    ("flv", "464c57", 0),
    ("flv", "464c56 01 05 000000", 5),
    ("flv", "464c56 01 05 00000009 0000", 9),
    ("flv", "464c56 01 05 00000009 00000000 12 000001 000000 00 000000", 24),
    ("flv", "464c56 01 05 00000009 00000000 12 000001 000000 00 000000 00 00000000", 25),
    ("amf0", "0a 00000001" * 512 + "05", None),
    ("amf0", "0a 00000001" * 513 + "05", 2560),
    ("amf3", "09 03 01" * 512 + "01", None),
    ("amf3", "09 03 01" * 513 + "01", 1536),
]

# text, line, column, path.
REFUSED_TEXTS = [
    ('', 1, 1, ""),
    ('\ufeff{"amf0":[]}', 1, 1, ""),
    ('{"amf0":[]} x', 1, 13, ""),
    ('{"amf0":[01]}', 1, 11, "amf0"),
    ('{"amf0":[],"amf0":[]}', 1, 12, "amf0"),
    ('{"amf0":[],\n"x":1}', 2, 1, "x"),
    ('{"amf0":["\\ud800"]}', 1, 10, "amf0[0]"),
    ('{"amf0":[{"é":"\\ud800"}]}', 1, 15, 'amf0[0]["é"]'),
    ('{"amf3":[{"":1}]}', 1, 11, 'amf3[0][""]'),
    ('{"amf0":[{"$xml":""}]}', 1, 11, "amf0[0].$xml"),
    ('{"amf0":[{"$bytes":""}]}', 1, 11, "amf0[0].$bytes"),
    ('{"amf0":[{"$vector":"int","$items":[]}]}', 1, 11, "amf0[0].$vector"),
    ('{"amf0":[{"$nope":1}]}', 1, 11, "amf0[0].$nope"),
    ('{"amf0":[{"$date":0,"$ecma":true}]}', 1, 21, "amf0[0].$ecma"),
    ('{"amf0":[{"$ref":1}]}', 1, 18, "amf0[0].$ref"),
    ('{"amf0":[{"$id":1},{"$id":1}]}', 1, 27, "amf0[1].$id"),
    ('{"amf0":[{"$id":1},{"$amf3":{"$ref":1}}]}', 1, 37, "amf0[1].$amf3.$ref"),
    ('{"amf0":[{"$id":0}]}', 1, 17, "amf0[0].$id"),
    ('{"amf0":[9007199254740993]}', 1, 10, "amf0[0]"),
    ('{"amf0":[1e400]}', 1, 10, "amf0[0]"),
    ('{"amf3":[{"$vector":"int","$items":[2147483648]}]}', 1, 37, "amf3[0].$items[0]"),
    ('{"amf3":[{"$vector":"int"}]}', 1, 10, "amf3[0]"),
    ('{"amf3":[{"$bytes":"AQ="}]}', 1, 20, "amf3[0].$bytes"),
    ('{"amf3":[{"$bytes":"AR=="}]}', 1, 20, "amf3[0].$bytes"),
    ('{"amf0":[{"$date":"2001-02-29T00:00:00Z"}]}', 1, 19, "amf0[0].$date"),
    ('{"amf0":[{"$date":"2001-01-01T00:00:60Z"}]}', 1, 19, "amf0[0].$date"),
    ('{"amf0":[fals]}', 1, 14, "amf0"),
    ('{"amf0":[-]}', 1, 11, "amf0"),
    ('{"amf0":[1.]}', 1, 12, "amf0"),
    ('{"a":1,"a":[}', 1, 13, "a"),
    ('{"amf0":[{"$undefined":true,"$$a":1}]}', 1, 29, "amf0[0].$$a"),
    ('{"amf0":[{"$zone":1,"$odd":1}]}', 1, 21, "amf0[0].$odd"),
    ('{"amf0":[{"$members":[],"a":1}]}', 1, 25, "amf0[0].a"),
    ('{"amf3":[{"$unsupported":true,"$array":[]}]}', 1, 11, "amf3[0].$unsupported"),
    ('{"sol":"a","amf":0,"entries":{"a":1,"$ref":1}}', 1, 37, "entries.$ref"),
    ('{"amf":0,"headers":[],"messages":[{"target":"","response":"","value":1,"error":""}]}', 1, 72,
     "messages[0].error"),
    ('{"amf":0,"headers":[],"messages":[{"target":{"raw":""},"response":"","value":1}]}', 1, 46,
     "messages[0].target.raw"),
    ('{"amf":0,"headers":[],"headerCount":1,"messages":[],"messageCount":1}', 1, 53, "messageCount"),
    ('{"amf3":[{"$vector":"double","$items":[{"$id":1}]}]}', 1, 40, "amf3[0].$items[0]"),
    ('{"integers":false}', 1, 1, ""),
    ('{"flv":[]}', 1, 2, "flv"),
    ('{"amf":0,"headers":[]}', 1, 1, ""),
    ('[]', 1, 1, ""),
    ('{"amf3":[{"$external":"un.k","$value":1}]}', 1, 23, "amf3[0].$external"),
    ('{"amf0":[{"$double":"nan"}]}', 1, 21, "amf0[0].$double"),
    ('{"amf3":[{"$sealed":2,"a":1}]}', 1, 21, "amf3[0].$sealed"),
    ('{"amf0":[' + "[" * 512 + "]" * 512 + "]}", None, None, None),
    ('{"amf0":[' + "[" * 513 + "]" * 513 + "]}", 1, 522, "amf0" + "[0]" * 513),
]


def data_of(text):
    return bytes.fromhex(text.replace(" ", ""))


def export_of(data, form, **options):
    try:
        return export_bytes(data, form, **options)
    except BytesError as error:
        return error.offset


def import_of(text):
    try:
        return import_bytes(text.encode())
    except TextError as error:
        return error.line, error.column, error.path


def failures():
    """Yields (what was asked, expected, found) of each row that fails."""
    for form, data, text in BOTH:
        yield data, text, export_of(data_of(data), form)
        yield text, data_of(data), import_of(text)
    for form, data, text in EXPORTS:
        yield data, text, export_of(data_of(data), form)
    for form, data, text in SALVAGED_FLV:
        yield data, text, export_of(data_of(data), form, salvage=True)
    for form, data, text in SALVAGED:
        yield data, text, export_of(data_of(data), form, salvage=True)
        yield text, data_of(data), import_of(text)
    for text, _, data in IMPORTS:
        yield text, data_of(data), import_of(text)
    for form, data, offset in REFUSED_BYTES:
        found = export_of(data_of(data), form)
        yield data, offset, found if isinstance(found, int) else None
    for text, line, column, path in REFUSED_TEXTS:
        found = import_of(text)
        yield text, (line, column, path), (None, None, None) if isinstance(found, bytes) else found


def main():
    count = failed = 0
    for asked, expected, found in failures():
        count += 1
        if found != expected:
            failed += 1
            print("%s\n  expected %r\n  found    %r" % (asked[:300], expected, found))
    print("%d rows, %d fail" % (count, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
