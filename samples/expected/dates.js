
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 71,
			"targetUri" : "when",
			"responseUri" : "/8",
			"value" : 
			{
				"type" : "object",
				"properties" : 
				[
					{
						"type" : "property",
						"value" : 
						{
							"type" : "date",
							"value" : "Thu Jan  1 00:00:01 1970"
						},
						"name" : "frac"
					},
					{
						"type" : "property",
						"value" : 
						{
							"type" : "date",
							"value" : "Wed Dec 31 23:59:59 1969"
						},

						"name" : "neg"
					},
					{
						"type" : "property",
						"value" : 
						{
							"type" : "date",
							"value" : "Thu Jan  1 00:00:00 1970"
						},
						"name" : "tiny"
					},
					{
						"type" : "property",
						"value" : 
						{
							"version" : "AMF3",
							"type" : "date",
							"value" : "Sun Jan  1 00:00:00 2012"
						},
						"name" : "late"
					}
				]
			}
		}
	]
}

amf.content[0].targetUri = "when";
amf.content[0].responseUri = "/8";
amf.content[0].value.properties[0].value = "Thu Jan  1 00:00:01 1970"; // "frac"
amf.content[0].value.properties[1].value = "Wed Dec 31 23:59:59 1969"; // "neg"
amf.content[0].value.properties[2].value = "Thu Jan  1 00:00:00 1970"; // "tiny"
amf.content[0].value.properties[3].value = "Sun Jan  1 00:00:00 2012"; // "late"
