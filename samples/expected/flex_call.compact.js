
 amf = {"version" : "AMF3","type" : "package","content" : [{"type" : "message","length" : 239,"targetUri" : "null","responseUri" : "/1","value" : {"type" : "array","array_type" : "strict","value" : [{"version" : "AMF3","type" : "object","sealed_size" : 9,"classname" : "flex.messaging.messages.RemotingMessage","properties" : [{"type" : "property","value" : "findBooks","name" : "operation"},{"type" : "property","value" : null,"name" : "source"},{"type" : "property","value" : "library","name" : "destination"},
{"type" : "property","value" : "5C0F3A10-0001-4000-8000-0000000000A1","name" : "messageId"},{"type" : "property","value" : null,"name" : "clientId"},{"type" : "property","value" : 0,"name" : "timestamp"},{"type" : "property","value" : 0,"name" : "timeToLive"},{"type" : "property","name" : "headers","value" : {"type" : "object","sealed_size" : 0,"have_dynamic" : true,"properties" : [{"type" : "property","value" : "nil","name" : "DSId"},{"type" : "property","value" : "my-amf","name" : "DSEndpoint"}]}},
{"type" : "property","name" : "body","value" : {"type" : "array","dense_size" : 2,"value" : ["sea",200]}}]}]}}]}

amf.content[0].targetUri = "null";
amf.content[0].responseUri = "/1";
amf.content[0].value.value[0].classname = "flex.messaging.messages.RemotingMessage";
amf.content[0].value.value[0].properties[0].value = "findBooks"; // "operation"
amf.content[0].value.value[0].properties[1].value = null; // "source"
amf.content[0].value.value[0].properties[2].value = "library"; // "destination"
amf.content[0].value.value[0].properties[3].value = "5C0F3A10-0001-4000-8000-0000000000A1"; // "messageId"
amf.content[0].value.value[0].properties[4].value = null; // "clientId"
amf.content[0].value.value[0].properties[5].value = 0; // "timestamp"
amf.content[0].value.value[0].properties[6].value = 0; // "timeToLive"
amf.content[0].value.value[0].properties[7].name = "headers";
amf.content[0].value.value[0].properties[7].value.properties[0].value = "nil"; // "DSId"
amf.content[0].value.value[0].properties[7].value.properties[1].value = "my-amf"; // "DSEndpoint"
amf.content[0].value.value[0].properties[8].name = "body";
amf.content[0].value.value[0].properties[8].value.value[0] = "sea";
amf.content[0].value.value[0].properties[8].value.value[1] = 200;
