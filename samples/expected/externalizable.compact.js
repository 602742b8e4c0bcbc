
 amf = {"version" : "AMF3","type" : "package","content" : [{"type" : "message","length" : 351,"targetUri" : "null","responseUri" : "/7","value" : {"version" : "AMF3","type" : "array","dense_size" : 8,"value" : [{"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "flex.messaging.io.ArrayCollection","properties" : [{"type" : "property","name" : "","value" : {"type" : "array","dense_size" : 2,"value" : [1,2]}}]},{"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "mx.utils.ObjectProxy","properties" : 
[{"type" : "property","name" : "","value" : {"type" : "object","sealed_size" : 0,"have_dynamic" : true,"properties" : [{"type" : "property","value" : "proxied","name" : "name"}]}}]},{"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "flex.messaging.io.SerializationProxy","properties" : [{"type" : "property","value" : "plain","name" : ""}]},{"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "flex.messaging.messages.AsyncMessageExt","properties" : 
[{"type" : "property","value" : null,"name" : ""}]},{"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "flex.messaging.CommandMessageExt","properties" : [{"type" : "property","value" : 5,"name" : ""}]},{"type" : "object","sealed_size" : 0,"have_dynamic" : true,"externalizable" : true,"classname" : "flex.data.messages.DataMessageExt","properties" : [{"type" : "property","value" : true,"name" : ""}]},{"type" : "object","sealed_size" : 1,"externalizable" : true,
"classname" : "flex.data.messages.PagedMessageExt","properties" : [{"type" : "property","value" : 0.500000,"name" : ""}]},{"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : "flex.data.messages.UpdateCollectionMessageExt","properties" : [{"type" : "property","name" : "","value" : {"type" : "object","sealed_size" : 0,"externalizable" : true,"classname" : {"type" : "string","reference" : 1,"type" : "string","value" : "mx.utils.ObjectProxy"},"properties" : 
[{"type" : "property","name" : "","value" : {"type" : "array","dense_size" : 0,"value" : []}}]}}]}]}}]}

amf.content[0].targetUri = "null";
amf.content[0].responseUri = "/7";
amf.content[0].value.value[0].classname = "flex.messaging.io.ArrayCollection";
amf.content[0].value.value[0].properties[0].name = "";
amf.content[0].value.value[0].properties[0].value.value[0] = 1;
amf.content[0].value.value[0].properties[0].value.value[1] = 2;
amf.content[0].value.value[1].classname = "mx.utils.ObjectProxy";
amf.content[0].value.value[1].properties[0].name = "";
amf.content[0].value.value[1].properties[0].value.properties[0].value = "proxied"; // "name"
amf.content[0].value.value[2].classname = "flex.messaging.io.SerializationProxy";
amf.content[0].value.value[2].properties[0].value = "plain"; // ""
amf.content[0].value.value[3].classname = "flex.messaging.messages.AsyncMessageExt";
amf.content[0].value.value[3].properties[0].value = null; // ""
amf.content[0].value.value[4].classname = "flex.messaging.CommandMessageExt";
amf.content[0].value.value[4].properties[0].value = 5; // ""
amf.content[0].value.value[5].classname = "flex.data.messages.DataMessageExt";
amf.content[0].value.value[5].properties[0].value = true; // ""
amf.content[0].value.value[6].classname = "flex.data.messages.PagedMessageExt";
amf.content[0].value.value[6].properties[0].value = 0.500000; // ""
amf.content[0].value.value[7].classname = "flex.data.messages.UpdateCollectionMessageExt";
amf.content[0].value.value[7].properties[0].name = "";
amf.content[0].value.value[7].properties[0].value.classname = amf.content[0].value.value[7].properties[0].value.classname.value = "mx.utils.ObjectProxy";
amf.content[0].value.value[7].properties[0].value.properties[0].name = "";
