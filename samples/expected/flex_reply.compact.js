
 amf = {"version" : "AMF3","type" : "package","content" : [{"type" : "message","length" : 355,"targetUri" : "/1/onResult","responseUri" : "null","value" : {"version" : "AMF3","type" : "object","sealed_size" : 8,"classname" : "flex.messaging.messages.AcknowledgeMessage","properties" : [{"type" : "property","value" : "5C0F3A10-0001-4000-8000-0000000000A1","name" : "correlationId"},{"type" : "property","value" : "5C0F3A10-0002-4000-8000-0000000000B2","name" : "clientId"},{"type" : "property","value" : "5C0F3A10-0003-4000-8000-0000000000C3",
"name" : "messageId"},{"type" : "property","value" : null,"name" : "destination"},{"type" : "property","value" : 1325376000000.000000,"name" : "timestamp"},{"type" : "property","value" : 0,"name" : "timeToLive"},{"type" : "property","name" : "headers","value" : {"type" : "object","sealed_size" : 0,"have_dynamic" : true,"properties" : [{"type" : "property","value" : {"type" : "string","reference" : 10,"type" : "string","value" : "5C0F3A10-0002-4000-8000-0000000000B2"},
"name" : "DSId"}]}},{"type" : "property","name" : "body","value" : {"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "flex.messaging.io.ArrayCollection","properties" : [{"type" : "property","name" : "","value" : {"type" : "array","dense_size" : 2,"value" : [{"type" : "object","sealed_size" : 2,"classname" : "library.Book","properties" : [{"type" : "property","value" : "Sea charts","name" : "title"},{"type" : "property","value" : 192,"name" : "pages"}]},{"type" : "object","sealed_size" : 2,"traits_reference" : 3,
"classname" : "library.Book","properties" : [{"type" : "property","value" : "Tides","name" : "title"},{"type" : "property","value" : 96,"name" : "pages"}]}]}}]}}]}}]}

amf.content[0].targetUri = "/1/onResult";
amf.content[0].responseUri = "null";
amf.content[0].value.classname = "flex.messaging.messages.AcknowledgeMessage";
amf.content[0].value.properties[0].value = "5C0F3A10-0001-4000-8000-0000000000A1"; // "correlationId"
amf.content[0].value.properties[1].value = "5C0F3A10-0002-4000-8000-0000000000B2"; // "clientId"
amf.content[0].value.properties[2].value = "5C0F3A10-0003-4000-8000-0000000000C3"; // "messageId"
amf.content[0].value.properties[3].value = null; // "destination"
amf.content[0].value.properties[4].value = 1325376000000.000000; // "timestamp"
amf.content[0].value.properties[5].value = 0; // "timeToLive"
amf.content[0].value.properties[6].name = "headers";
amf.content[0].value.properties[6].value.properties[0].value = "5C0F3A10-0002-4000-8000-0000000000B2"; // "DSId"
amf.content[0].value.properties[7].name = "body";
amf.content[0].value.properties[7].value.classname = "flex.messaging.io.ArrayCollection";
amf.content[0].value.properties[7].value.properties[0].name = "";
amf.content[0].value.properties[7].value.properties[0].value.value[0].classname = "library.Book";
amf.content[0].value.properties[7].value.properties[0].value.value[0].properties[0].value = "Sea charts"; // "title"
amf.content[0].value.properties[7].value.properties[0].value.value[0].properties[1].value = 192; // "pages"
amf.content[0].value.properties[7].value.properties[0].value.value[1].classname = "library.Book";
amf.content[0].value.properties[7].value.properties[0].value.value[1].properties[0].value = "Tides"; // "title"
amf.content[0].value.properties[7].value.properties[0].value.value[1].properties[1].value = 96; // "pages"
