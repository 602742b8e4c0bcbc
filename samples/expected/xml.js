
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 50,
			"targetUri" : "xml",
			"responseUri" : "/5",
			"value" : 
			{
				"type" : "array",
				"array_type" : "strict",
				"value" : 
				[
					{
						"type" : "xml",
						"value" : "<a b=\"1\"/>"
					},
					{
						"version" : "AMF3",
						"type" : "array",
						"dense_size" : 4,
						"value" : 
						[
							{
								"type" : "xml",
								"value" : "<doc />"
							},
							{
								"type" : "xml",
								"xml_type" : "XML",
								"value" : "<e>é</e>"
							},

							{
								"type" : "xml",
								"reference" : 1,
								"type" : "xml",
								"value" : "<doc />"
							},
							{
								"type" : "xml",
								"reference" : 2,
								"type" : "xml",
								"xml_type" : "XML",
								"value" : "<e>é</e>"
							}
						]
					}
				]
			}
		}
	]
}

amf.content[0].targetUri = "xml";
amf.content[0].responseUri = "/5";
amf.content[0].value.value[0].value = "<a b=\"1\"/>";
amf.content[0].value.value[1].value[0].value = "<doc />";
amf.content[0].value.value[1].value[1].value = "<e>é</e>";
amf.content[0].value.value[1].value[2].value = "<doc />";
amf.content[0].value.value[1].value[3].value = "<e>é</e>";
